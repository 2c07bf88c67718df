#include "cli/TransferOutput.h"

#include "pairing/QrCode.h"

#include <algorithm>
#include <string_view>
#include <utility>

namespace korvane {

namespace {

// Black is colour 16 and white is colour 231 of the 256-colour palette (ECMA-48 SGR with ISO 8613-6
// colours). Colours 0 to 15 are not used, because users can redefine them.
constexpr std::string_view blackOnWhite = "\x1B[38;5;16;48;5;231m";
constexpr std::string_view whiteOnBlack = "\x1B[38;5;231;48;5;16m";
constexpr std::string_view asBefore = "\x1B[0m";

/// One character and its colours. Uses the lower half block only, because fonts align it with the
/// bottom of the line; upper half and full blocks often leave a gap to the line above.
struct Cell {
    Cell(bool upperIsDark, bool lowerIsDark)
        : colours(upperIsDark ? whiteOnBlack : blackOnWhite)
        , character(upperIsDark == lowerIsDark ? " " : "▄")
    {
    }

    std::string_view colours;
    std::string_view character;
};

std::string line(const QrCode& code, int row)
{
    std::string text;
    std::string_view colours;
    for (int column = 0; column < code.side(); ++column) {
        const Cell cell(code.isDark(column, row), code.isDark(column, row + 1));
        if (cell.colours != colours)
            text += cell.colours;
        colours = cell.colours;
        text += cell.character;
    }
    return text.append(asBefore) + '\n';
}

} // namespace

std::string terminalPicture(const QrCode& code)
{
    std::string picture;
    for (int row = 0; row < code.side(); row += 2) // an odd side leaves one row for the last line
        picture += line(code, row);
    return picture;
}

namespace {

using Kind = TransferEvent::Kind;

std::string fetches(int count)
{
    return std::to_string(count) + (count == 1 ? " more fetch" : " more fetches");
}

} // namespace

std::string FetchLog::add(const TransferEvent& event, Clock::time_point now)
{
    return event.kind == Kind::Started ? begin(event.peer, now) : end(event, now);
}

std::string FetchLog::begin(const std::string& peer, Clock::time_point now)
{
    ++m_underWay;
    if (!m_listings.take(now))
        return "";
    ++m_listed[peer];
    return peer + " is fetching it";
}

/// Events carry no fetch id. If one peer has several fetches under way, the first to end is taken
/// for the listed one.
std::string FetchLog::end(const TransferEvent& event, Clock::time_point now)
{
    --m_underWay;
    const bool delivered = event.kind == Kind::Delivered;
    const auto listed = m_listed.find(event.peer);
    if (listed == m_listed.end() && !(delivered && m_deliveries.take(now))) {
        count(event, now);
        return "";
    }
    if (listed != m_listed.end() && --listed->second == 0)
        m_listed.erase(listed);
    return event.peer + (delivered ? " has it" : " broke off");
}

void FetchLog::count(const TransferEvent& event, Clock::time_point now)
{
    if (m_unlisted.brokenOff + m_unlisted.delivered == 0)
        m_unlisted.since = now;
    ++(event.kind == Kind::Delivered ? m_unlisted.delivered : m_unlisted.brokenOff);
    m_unlisted.lastPeer = event.peer;
}

std::string FetchLog::summary(Clock::time_point now)
{
    return now - m_unlisted.since < interval ? "" : lastSummary();
}

std::string FetchLog::lastSummary()
{
    const Unlisted unlisted = std::exchange(m_unlisted, {});
    std::string text;
    if (unlisted.brokenOff > 0)
        text = fetches(unlisted.brokenOff) + " broke off";
    if (unlisted.delivered > 0)
        text += (text.empty() ? "" : ", ") + fetches(unlisted.delivered) + " ended well";
    return text.empty() ? "" : text + ", the last from " + unlisted.lastPeer;
}

bool FetchLog::Allowance::take(Clock::time_point now)
{
    const auto intervals = (now - m_refilled) / interval;
    m_refilled += intervals * interval;
    m_left = static_cast<int>(std::min<long long>(listedAtOnce, m_left + intervals));
    if (m_left == 0)
        return false;
    --m_left;
    return true;
}

} // namespace korvane
