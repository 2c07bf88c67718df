#include "reader/Filter.h"

#include "reader/Conversation.h"
#include "reader/Folding.h"

#include <QDateTime>
#include <QRegularExpression>
#include <QTimeZone>

namespace korvane {

namespace {

constexpr std::string_view handlePrefix = "messages:handle:";
constexpr std::int64_t millisecond = 1;
constexpr std::int64_t second = 1000;
constexpr std::int64_t minute = 60 * second;
constexpr std::int64_t hour = 60 * minute;

TimeSpan spanOfDays(QDate first, QDate afterLast)
{
    return {first.startOfDay().toMSecsSinceEpoch(), afterLast.startOfDay().toMSecsSinceEpoch()};
}

/// The parts of a date, as the expression below captures them.
class DateParts {
public:
    explicit DateParts(const QRegularExpressionMatch& match) : m_match(match) { }

    std::optional<TimeSpan> span() const
    {
        const QDate day(number(Year), has(Month) ? number(Month) : 1, has(Day) ? number(Day) : 1);
        if (!day.isValid())
            return std::nullopt;
        if (!has(Month))
            return spanOfDays(day, day.addYears(1));
        if (!has(Day))
            return spanOfDays(day, day.addMonths(1));
        return has(Hour) ? spanOfTime(day) : spanOfDays(day, day.addDays(1));
    }

private:
    enum Part { Year = 1, Month, Day, Hour, Minute, Second, Fraction, Zone };

    bool has(Part part) const { return m_match.hasCaptured(part); }
    int number(Part part) const { return m_match.captured(part).toInt(); }

    std::optional<TimeSpan> spanOfTime(QDate day) const
    {
        const int fraction = m_match.captured(Fraction).leftJustified(3, u'0').toInt();
        const QTime time(number(Hour), number(Minute), number(Second), fraction);
        const auto offset = offsetInSeconds();
        if (!time.isValid() || (has(Zone) && !offset))
            return std::nullopt;
        const QDateTime begin
            = offset ? QDateTime(day, time, QTimeZone(*offset)) : QDateTime(day, time);
        return TimeSpan{begin.toMSecsSinceEpoch(), begin.toMSecsSinceEpoch() + unit()};
    }

    std::int64_t unit() const
    {
        if (has(Fraction))
            return millisecond;
        if (has(Second))
            return second;
        return has(Minute) ? minute : hour;
    }

    /// East of UTC. Nothing without a zone, or if it is more than 14 hours away.
    std::optional<int> offsetInSeconds() const
    {
        const QString zone = m_match.captured(Zone).remove(u':');
        if (zone.isEmpty())
            return std::nullopt;
        if (zone == QStringLiteral("Z"))
            return 0;
        const int hours = zone.mid(1, 2).toInt();
        const int minutes = zone.mid(3, 2).toInt();
        if (hours > 14 || minutes > 59)
            return std::nullopt;
        const int seconds = (hours * 60 + minutes) * 60;
        return zone.startsWith(u'-') ? -seconds : seconds;
    }

    const QRegularExpressionMatch& m_match;
};

/// The filter, prepared for one conversation.
class Matcher {
public:
    explicit Matcher(const Filter& filter)
        : m_filter(filter)
        , m_from(folded(filter.from))
        , m_search(folded(filter.search))
    {
    }

    bool matches(const Conversation& conversation, std::uint32_t index) const
    {
        if (!isInTime(conversation.messages()[index]))
            return false;
        if (m_from.empty() && m_search.empty())
            return true;
        const Record record = conversation.record(index);
        return isFrom(record) && folded(record.body).find(m_search) != std::string::npos;
    }

private:
    bool isInTime(const Message& message) const
    {
        const bool isRestricted = m_filter.since || m_filter.before;
        if (isRestricted && !message.hasTime())
            return false;
        return (!m_filter.since || message.time >= *m_filter.since)
            && (!m_filter.before || message.time < *m_filter.before);
    }

    bool isFrom(const Record& record) const
    {
        if (m_from == "me") // which is part of many names
            return record.isOutgoing;
        if (m_from.empty() || folded(record.sender).find(m_from) != std::string::npos)
            return true;
        const std::string id = record.senderID.value_or("");
        return id.starts_with(handlePrefix) && folded(id.substr(handlePrefix.size())) == m_from;
    }

    const Filter& m_filter;
    const std::string m_from;
    const std::string m_search;
};

} // namespace

std::optional<TimeSpan> timeSpan(std::string_view text)
{
    static const QRegularExpression form(
        QStringLiteral("\\A(\\d{4})(?:-(\\d\\d)(?:-(\\d\\d)(?:[T ](\\d\\d)(?::(\\d\\d)(?::(\\d\\d)"
                       "(?:\\.(\\d{1,3}))?)?)?(Z|[+-]\\d\\d:?\\d\\d)?)?)?)?\\z"));
    const auto match = form.match(QString::fromUtf8(text.data(), qsizetype(text.size())));
    return match.hasMatch() ? DateParts(match).span() : std::nullopt;
}

Selection chosenMessages(const Conversation& conversation, const Filter& filter)
{
    const Matcher matcher(filter);
    Selection chosen;
    for (std::uint32_t i = 0; i < conversation.messages().size(); ++i) {
        if (matcher.matches(conversation, i))
            chosen.push_back(i);
    }
    return chosen;
}

} // namespace korvane
