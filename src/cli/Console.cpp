#include "cli/Console.h"

#include "text/TerminalText.h"

#include <algorithm>

namespace korvane {

namespace {

/// Replaces the value of each "key=": an error may quote a link, and its key must stay secret.
std::string withoutKeys(std::string text)
{
    constexpr std::string_view item = "key=";
    for (std::size_t at = text.find(item); at != text.npos; at = text.find(item, at)) {
        at += item.size();
        const std::size_t end = std::min(text.find_first_of("& \t\r\n", at), text.size());
        text.replace(at, end - at, "…");
    }
    return text;
}

} // namespace

void Console::complain(std::string_view text) const
{
    err << "korvane-sync: " << withoutKeys(printable(text)) << '\n';
}

bool Console::outputIsComplete() const
{
    if (out.flush())
        return true;
    out.clear();
    complain("Not all of the output could be written.");
    return false;
}

namespace {

std::string cellText(const std::string& cell, const Table::Column& column)
{
    const std::string text = printable(cell);
    return column.widest > 0 ? fitted(text, column.widest) : text;
}

std::string padded(const std::string& cell, int width, Table::Align align)
{
    const std::string blanks(static_cast<std::size_t>(width - displayWidth(cell)), ' ');
    return align == Table::Align::Left ? cell + blanks : blanks + cell;
}

} // namespace

Table::Table(std::vector<Column> columns) : m_columns(std::move(columns))
{
    std::vector<std::string> headings;
    for (const Column& column : m_columns)
        headings.push_back(column.heading);
    add(headings);
}

void Table::add(const std::vector<std::string>& cells)
{
    std::vector<std::string> row;
    for (std::size_t i = 0; i < cells.size(); ++i)
        row.push_back(cellText(cells[i], m_columns[i]));
    m_rows.push_back(std::move(row));
}

std::string Table::text() const
{
    std::vector<int> widths(m_columns.size(), 0);
    for (const auto& row : m_rows) {
        for (std::size_t i = 0; i < row.size(); ++i)
            widths[i] = std::max(widths[i], displayWidth(row[i]));
    }
    std::string text;
    for (const auto& row : m_rows) {
        for (std::size_t i = 0; i < row.size(); ++i)
            text.append(i > 0 ? "  " : "").append(padded(row[i], widths[i], m_columns[i].align));
        text.erase(text.find_last_not_of(' ') + 1);
        text += '\n';
    }
    return text;
}

namespace {

std::string bar(std::int64_t percent)
{
    constexpr std::int64_t width = 24;
    const std::int64_t filled = width * percent / 100;
    std::string text = "[";
    for (std::int64_t i = 0; i < width; ++i)
        text += i < filled ? '#' : '.';
    return text + "] " + std::to_string(percent) + "% ";
}

} // namespace

ProgressBar::ProgressBar(std::ostream& out, bool visible, std::int64_t total, Clock::duration delay)
    : m_out(out)
    , m_visible(visible)
    , m_total(std::max<std::int64_t>(total, 1))
    , m_nextDraw(Clock::now() + delay)
{
}

ProgressBar::~ProgressBar()
{
    if (m_drawn)
        m_out << startOfLineAndWipe << std::flush;
}

void ProgressBar::show(std::int64_t done, std::string_view doing)
{
    const auto now = Clock::now();
    if (!m_visible || now < m_nextDraw)
        return;
    constexpr int doingWidth = 40;
    const std::int64_t percent = std::clamp<std::int64_t>(100 * done / m_total, 0, 100);
    m_out << startOfLineAndWipe << bar(percent) << fitted(printable(doing), doingWidth)
          << std::flush;
    m_nextDraw = now + std::chrono::milliseconds(100);
    m_drawn = true;
}

} // namespace korvane
