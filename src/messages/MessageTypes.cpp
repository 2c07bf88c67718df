#include "messages/MessageTypes.h"

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

std::size_t std::hash<korvane::ChatInfo>::operator()(const korvane::ChatInfo& chat) const noexcept
{
    std::size_t seed = 0;
    const auto mix = [&seed](std::size_t value) {
        seed ^= value + 0x9e3779b97f4a7c15U + (seed << 6U) + (seed >> 2U);
    };
    const std::hash<std::string> text;
    mix(std::hash<std::int64_t>()(chat.id));
    mix(text(chat.guid));
    mix(text(chat.displayName));
    mix(text(chat.identifier));
    mix(std::hash<bool>()(chat.isGroup));
    mix(std::hash<double>()(chat.lastDate.value_or(korvane::ReferenceTime()).count()));
    mix(std::hash<std::int64_t>()(chat.messageCount));
    for (const std::string& member : chat.members)
        mix(text(member));
    return seed;
}
