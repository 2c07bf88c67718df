#pragma once

#include <chrono>
#include <cstdint>

namespace korvane {

/// Seconds since the reference date of Messages, 2001-01-01 00:00:00 UTC. A double, as on the
/// platform itself; its resolution for present dates is about 0.1 microseconds.
using ReferenceTime = std::chrono::duration<double>;

/// Seconds from the Unix epoch to the reference date.
inline constexpr std::int64_t referenceDateUnixSeconds = 978'307'200;

/// Converts a stored date. An absolute value above 100000000000 counts nanoseconds, any other
/// counts seconds, as older systems stored them. Throws std::overflow_error for the most negative
/// 64-bit value, which has no absolute value. That error fails the whole run, not just one chat,
/// and ends the terminal program.
ReferenceTime referenceTime(std::int64_t stored);

} // namespace korvane
