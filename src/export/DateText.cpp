#include "export/DateText.h"

#include "text/Ascii.h"

#include <algorithm>
#include <charconv>
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

/// Whether `text` is `form` with a digit in the place of each zero.
bool hasForm(std::string_view text, std::string_view form)
{
    return std::equal(text.begin(), text.end(), form.begin(), form.end(),
        [](char c, char model) { return model == '0' ? isDigit(c) : c == model; });
}

int numberIn(std::string_view digits)
{
    int number = 0;
    std::from_chars(digits.data(), digits.data() + digits.size(), number);
    return number;
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

std::optional<ReferenceTime> DateText::read(std::string_view text)
{
    using namespace std::chrono;
    if (!hasForm(text, "0000-00-00T00:00:00.000Z"))
        return std::nullopt;
    const year_month_day date(year(numberIn(text.substr(0, 4))),
        month(static_cast<unsigned>(numberIn(text.substr(5, 2)))),
        day(static_cast<unsigned>(numberIn(text.substr(8, 2)))));
    if (!date.ok())
        return std::nullopt;
    const Milliseconds moment = sys_days(date) + hours(numberIn(text.substr(11, 2)))
        + minutes(numberIn(text.substr(14, 2))) + seconds(numberIn(text.substr(17, 2)))
        + milliseconds(numberIn(text.substr(20, 3)));
    return moment.time_since_epoch() - seconds(referenceDateUnixSeconds);
}

bool DateText::areClose(ReferenceTime one, ReferenceTime other)
{
    return std::llround(std::abs((one - other).count()) * 1000) <= 1000;
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
