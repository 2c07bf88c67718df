#pragma once

#include <chrono>
#include <cstdint>

namespace korvane {

/// Time since 2001-01-01 00:00:00 UTC, the reference date from which Messages counts.
/// A double, as the platform keeps it: about 0.1 microseconds fine in our days.
using ReferenceTime = std::chrono::duration<double>;

/// Seconds from the Unix epoch to the reference date.
inline constexpr std::int64_t referenceDateUnixSeconds = 978'307'200;

/// What a stored date means: nanoseconds where its absolute value is over 100000000000, seconds
/// otherwise, for older systems counted seconds. The most negative 64-bit value has no absolute
/// value: it throws std::overflow_error, which fails the whole run, not one
/// chat, and ends the terminal program.
ReferenceTime referenceTime(std::int64_t stored);

} // namespace korvane
