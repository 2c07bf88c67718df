#pragma once

#include "messages/Timestamp.h"

#include <chrono>
#include <optional>
#include <string>
#include <string_view>

namespace korvane {

/// Writes points in time as internet date-times (RFC 3339) in UTC. Keeps the day it wrote last,
/// for messages come by the day; one object serves one batch and one thread.
class DateText {
public:
    /// "2023-12-31T23:00:00.500Z", rounded to the nearest millisecond. The view lives until the
    /// next call. Years before 0 are written with a sign (ISO 8601), e.g. "-0001".
    std::string_view withMilliseconds(ReferenceTime time);

    /// "2024-05-06T07:08:09Z". Nothing where the year does not have four digits (RFC 3339): files
    /// can have any time of 64 bits.
    static std::optional<std::string> wholeSeconds(std::chrono::sys_seconds time);

private:
    void writeDay(std::chrono::sys_days day);

    std::chrono::sys_days m_day = std::chrono::sys_days::max();
    std::size_t m_dayLength = 0;
    std::string m_text;
};

} // namespace korvane
