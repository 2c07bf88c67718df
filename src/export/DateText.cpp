#include "export/DateText.h"

#include <cmath>
#include <cstdint>

namespace korvane {

namespace {

using Milliseconds = std::chrono::sys_time<std::chrono::milliseconds>;

template <int width>
void appendPadded(std::string& text, std::int64_t number)
{
    char digits[width];
    for (int i = width; i-- > 0; number /= 10)
        digits[i] = static_cast<char>('0' + number % 10);
    text.append(digits, width);
}

void appendClock(std::string& text, std::int64_t secondOfDay)
{
    text += 'T';
    appendPadded<2>(text, secondOfDay / 3600);
    text += ':';
    appendPadded<2>(text, secondOfDay / 60 % 60);
    text += ':';
    appendPadded<2>(text, secondOfDay % 60);
}

std::string dayText(std::chrono::sys_days day)
{
    const std::chrono::year_month_day date(day);
    const int year = static_cast<int>(date.year());
    std::string text(year < 0 ? "-" : "");
    appendPadded<4>(text, std::abs(year));
    text += '-';
    appendPadded<2>(text, static_cast<unsigned>(date.month()));
    text += '-';
    appendPadded<2>(text, static_cast<unsigned>(date.day()));
    return text;
}

/// Rounds the fraction separately from the whole seconds: multiplying the full time by 1000 would
/// lose precision.
Milliseconds nearestMillisecond(ReferenceTime time)
{
    const double second = std::floor(time.count());
    const auto fraction = std::llround((time.count() - second) * 1000);
    const auto sinceEpoch = static_cast<std::int64_t>(second) + referenceDateUnixSeconds;
    return Milliseconds(std::chrono::milliseconds(sinceEpoch * 1000 + fraction));
}

} // namespace

std::string_view DateText::withMilliseconds(ReferenceTime time)
{
    const Milliseconds moment = nearestMillisecond(time);
    const auto day = std::chrono::floor<std::chrono::days>(moment);
    const std::int64_t ofDay = (moment - day).count();
    writeDay(day);
    appendClock(m_text, ofDay / 1000);
    m_text += '.';
    appendPadded<3>(m_text, ofDay % 1000);
    m_text += 'Z';
    return m_text;
}

std::optional<std::string> DateText::wholeSeconds(std::chrono::sys_seconds time)
{
    using namespace std::chrono;
    constexpr sys_seconds begin = sys_days(year(0) / January / 1);
    constexpr sys_seconds end = sys_days(year(10000) / January / 1);
    if (time < begin || time >= end)
        return std::nullopt;
    const auto day = floor<days>(time);
    std::string text = dayText(day);
    appendClock(text, (time - day).count());
    return text + 'Z';
}

void DateText::writeDay(std::chrono::sys_days day)
{
    if (day != m_day) {
        m_text = dayText(day);
        m_day = day;
        m_dayLength = m_text.size();
    }
    m_text.resize(m_dayLength);
}

} // namespace korvane
