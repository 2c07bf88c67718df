#include "check/Difference.h"

#include "export/Record.h"
#include "text/Ascii.h"

#include <charconv>
#include <chrono>
#include <cstdint>
#include <optional>
#include <string_view>
#include <tuple>

namespace korvane {

namespace {

using Milliseconds = std::chrono::sys_time<std::chrono::milliseconds>;

/// Reads the parts of a date from the left. A part that is not there makes the whole date unknown.
class DateParts {
public:
    explicit DateParts(std::string_view text) : m_rest(text) { }

    /// The number of up to `most` digits before `separator`, which is removed.
    int number(std::size_t most, char separator)
    {
        const std::size_t end = m_rest.find(separator);
        int number = 0;
        if (end == m_rest.npos || end == 0 || end > most || !isDigit(m_rest.front()))
            return fail();
        const char* const stop = m_rest.data() + end;
        if (std::from_chars(m_rest.data(), stop, number).ptr != stop)
            return fail();
        m_rest.remove_prefix(end + 1);
        return number;
    }

    bool sign()
    {
        const bool negative = m_rest.starts_with('-');
        m_rest.remove_prefix(negative ? 1 : 0);
        return negative;
    }

    bool areWhole() const { return !m_failed && m_rest.empty(); }

private:
    int fail()
    {
        m_failed = true;
        return 0;
    }

    std::string_view m_rest;
    bool m_failed = false;
};

/// Reads a date in the form of DateText::withMilliseconds().
std::optional<Milliseconds> momentOf(std::string_view text)
{
    using namespace std::chrono;
    constexpr std::size_t longestYear = 5; // the calendar of <chrono> ends in the year 32767
    DateParts parts(text);
    const bool negative = parts.sign();
    const int number = parts.number(longestYear, '-');
    const year year(negative ? -number : number);
    const month month(static_cast<unsigned>(parts.number(2, '-')));
    const day day(static_cast<unsigned>(parts.number(2, 'T')));
    const hours hour(parts.number(2, ':'));
    const minutes minute(parts.number(2, ':'));
    const seconds second(parts.number(2, '.'));
    const milliseconds fraction(parts.number(3, 'Z'));
    const year_month_day date = year / month / day;
    if (!parts.areWhole() || !date.ok())
        return std::nullopt;
    return sys_days(date) + hour + minute + second + fraction;
}

/// A date that cannot be read was damaged. It says nothing about the database.
bool areFarApart(std::string_view one, std::string_view other)
{
    const auto first = momentOf(one);
    const auto second = momentOf(other);
    return first && second && std::chrono::abs(*first - *second) > std::chrono::seconds(1);
}

bool isForeign(const Record& inFile, const Record& inDatabase)
{
    const auto identity = [](const Record& record) {
        return std::tie(record.senderID, record.isOutgoing, record.body);
    };
    return areFarApart(inFile.date, inDatabase.date) && identity(inFile) != identity(inDatabase);
}

template <typename Value>
bool agrees(const std::optional<Value>& inFile, const std::optional<Value>& inDatabase)
{
    return inFile == inDatabase || !inDatabase;
}

bool countAgrees(std::int64_t inFile, std::int64_t inDatabase)
{
    return inFile == inDatabase || inDatabase == 0;
}

bool photosAgree(const Record& inFile, const Record& inDatabase)
{
    return agrees(inFile.photoCount, inDatabase.photoCount)
        || (inFile.photoCount && inDatabase.photoCount == 0);
}

bool isChanged(const Record& inFile, const Record& inDatabase)
{
    const auto content = [](const Record& record) {
        return std::tie(record.body, record.conversationID, record.date, record.isOutgoing,
            record.reactionKind, record.recordKind, record.senderID, record.textUnavailable);
    };
    return content(inFile) != content(inDatabase)
        || !countAgrees(inFile.attachmentCount, inDatabase.attachmentCount)
        || !photosAgree(inFile, inDatabase)
        || !agrees(inFile.reactionTargetID, inDatabase.reactionTargetID)
        || !agrees(inFile.replyToID, inDatabase.replyToID);
}

bool isRenamed(const Record& inFile, const Record& inDatabase)
{
    return inFile.sender != inDatabase.sender
        || inFile.conversationName != inDatabase.conversationName;
}

} // namespace

Difference differenceOf(const Record& inFile, const Record& inDatabase)
{
    if (isForeign(inFile, inDatabase))
        return Difference::Foreign;
    if (isChanged(inFile, inDatabase))
        return Difference::Changed;
    return isRenamed(inFile, inDatabase) ? Difference::Renamed : Difference::None;
}

} // namespace korvane
