#include "PaintedCode.h"

#include <QProcess>
#include <QStandardPaths>
#include <QString>
#include <QTemporaryDir>

#include <fstream>
#include <optional>
#include <sstream>

namespace korvane {

namespace {

constexpr std::string_view escape = "\x1B[";

/// The current colours. Absent means the terminal's own, or one that is neither black nor white.
struct Colours {
    std::optional<bool> inkIsLight;
    std::optional<bool> groundIsLight;

    bool isPainted() const { return inkIsLight && groundIsLight; }
};

/// True for white and false for black, as numbers of the 256 colours; absent for any other. Themes
/// change colours 0 to 15 only, hence black and white are 16 and 231.
std::optional<bool> isLight(int colour)
{
    constexpr int black = 16;
    constexpr int white = 231;
    return colour == black || colour == white ? std::optional(colour == white) : std::nullopt;
}

/// Removes an escape sequence from the front of `line` and applies it to `colours`.
void follow(Colours& colours, std::string_view& line)
{
    const std::size_t end = line.find('m');
    std::istringstream numbers(std::string(line.substr(escape.size(), end - escape.size())));
    std::vector<int> values;
    for (std::string number; std::getline(numbers, number, ';');)
        values.push_back(std::stoi(number));
    for (std::size_t i = 0; i < values.size(); ++i) {
        const bool ofPalette = i + 2 < values.size() && values[i + 1] == 5;
        if (values[i] == 0)
            colours = {};
        else if (values[i] == 38 && ofPalette)
            colours.inkIsLight = isLight(values[i += 2]);
        else if (values[i] == 48 && ofPalette)
            colours.groundIsLight = isLight(values[i += 2]);
    }
    line.remove_prefix(end + 1);
}

/// A half-block character, and which halves of its cell have the text colour.
struct Cell {
    std::string_view character;
    bool upper;
    bool lower;
};

constexpr Cell cells[] = {
    {" ", false, false},
    {"\u2580", true, false},
    {"\u2584", false, true},
    {"\u2588", true, true},
};

/// Removes a half block from the front of `line`. If there is none, clears `line` and returns
/// nothing.
std::optional<Cell> taken(std::string_view& line)
{
    for (const Cell& cell : cells) {
        if (line.starts_with(cell.character)) {
            line.remove_prefix(cell.character.size());
            return cell;
        }
    }
    line = {};
    return std::nullopt;
}

} // namespace

PaintedCode::PaintedCode(std::string_view printed, Terminal terminal)
{
    std::istringstream lines{std::string(printed)};
    for (std::string line; std::getline(lines, line);) {
        if (line.find(escape) != line.npos)
            addLine(line, terminal == Terminal::LightOnDark);
    }
    m_width = m_rows.empty() ? 0 : static_cast<int>(m_rows.front().size());
    for (const std::string& row : m_rows)
        m_width = static_cast<int>(row.size()) == m_width ? m_width : 0;
}

void PaintedCode::addLine(std::string_view line, bool lightOnDark)
{
    Colours colours;
    std::string upper;
    std::string lower;
    while (!line.empty()) {
        if (line.starts_with(escape)) {
            follow(colours, line);
            continue;
        }
        const auto cell = taken(line);
        m_paintedThroughout = m_paintedThroughout && cell && colours.isPainted();
        const char ink = colours.inkIsLight.value_or(lightOnDark) ? '1' : '0';
        const char ground = colours.groundIsLight.value_or(!lightOnDark) ? '1' : '0';
        upper += cell && cell->upper ? ink : ground;
        lower += cell && cell->lower ? ink : ground;
    }
    m_paintedThroughout = m_paintedThroughout && !colours.inkIsLight && !colours.groundIsLight;
    m_rows.push_back(upper);
    m_rows.push_back(lower);
}

bool PaintedCode::isDark(int column, int row) const
{
    return m_rows[static_cast<std::size_t>(row)][static_cast<std::size_t>(column)] == '0';
}

bool PaintedCode::canRead()
{
    return !QStandardPaths::findExecutable(QStringLiteral("zbarimg")).isEmpty();
}

std::string PaintedCode::read() const
{
    constexpr int scale = 6;
    const QTemporaryDir folder;
    const QString picture = folder.filePath(QStringLiteral("code.pgm"));
    std::ofstream file(picture.toStdString());
    file << "P2\n" << width() * scale << ' ' << height() * scale << "\n1\n";
    for (int y = 0; y < height() * scale; ++y) {
        for (int x = 0; x < width() * scale; ++x)
            file << (isDark(x / scale, y / scale) ? "0\n" : "1\n");
    }
    file.close();
    QProcess zbar;
    zbar.start(QStringLiteral("zbarimg"),
        {QStringLiteral("--quiet"), QStringLiteral("--raw"), QStringLiteral("--oneshot"), picture});
    zbar.waitForFinished();
    const std::string text = zbar.readAllStandardOutput().toStdString();
    return text.substr(0, text.find_last_not_of('\n') + 1);
}

} // namespace korvane
