#include "messages/Timestamp.h"

#include <limits>
#include <stdexcept>

namespace korvane {

ReferenceTime referenceTime(std::int64_t stored)
{
    constexpr std::int64_t largestSeconds = 100'000'000'000;
    if (stored == std::numeric_limits<std::int64_t>::min())
        throw std::overflow_error("A message has a date that is out of range.");
    const bool nanoseconds = (stored < 0 ? -stored : stored) > largestSeconds;
    const auto value = static_cast<double>(stored);
    return ReferenceTime(nanoseconds ? value / 1e9 : value);
}

} // namespace korvane
