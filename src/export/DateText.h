#pragma once

#include "messages/MessageTypes.h"

#include <chrono>
#include <optional>
#include <string>
#include <string_view>

namespace korvane {

/// Formats times as internet date-times (RFC 3339) in UTC. Caches the text of the last day, because
/// successive messages often share it. Used for one batch, by one thread.
class DateText {
public:
    /// "2023-12-31T23:00:00.500Z", rounded to the nearest millisecond. The view is valid until the
    /// next call. Years before 0 have a sign (ISO 8601), e.g. "-0001".
    std::string_view withMilliseconds(ReferenceTime time);

    /// Reads what withMilliseconds() writes for the years 0 to 9999. Absent for any other text.
    static std::optional<ReferenceTime> read(std::string_view text);

    /// Whether two times can be those of one message: they differ by at most one second, rounded to
    /// milliseconds as in the files.
    static bool areClose(ReferenceTime one, ReferenceTime other);

    /// "2024-05-06T07:08:09Z". Absent for years outside 0 to 9999, which RFC 3339 cannot express: a
    /// file's modification time can be any 64-bit value.
    static std::optional<std::string> wholeSeconds(std::chrono::sys_seconds time);

private:
    void writeDay(std::chrono::sys_days day);

    std::chrono::sys_days m_day = std::chrono::sys_days::max();
    std::size_t m_dayLength = 0;
    std::string m_text;
};

} // namespace korvane
