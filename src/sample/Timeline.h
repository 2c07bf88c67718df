#pragma once

#include "sample/Random.h"

#include <cstdint>

namespace korvane::sample {

inline constexpr std::int64_t nanosecondsPerSecond = 1'000'000'000;

/// When the messages of a sample were written: spread over eight years that end on 1 November
/// 2026, in conversations of a few minutes, by day. A few stem from the years before, when
/// Messages counted in seconds.
class Timeline {
public:
    Timeline(std::int64_t messages, std::uint64_t seed);

    /// For 1 and on, in order; never goes back. `opensConversation` tells that some time has
    /// passed since the message before. The result counts from the start of 2001.
    std::int64_t nextNanoseconds(bool opensConversation);

    /// Whether the message of the last call is one of those dated in whole seconds.
    bool countsSeconds() const { return m_given <= m_oldMessages; }

private:
    std::int64_t conversationStart();

    Random m_random;
    std::int64_t m_oldMessages;
    std::int64_t m_oldSlot; ///< How much time there is for each old message, in nanoseconds.
    std::int64_t m_slot; ///< The same for the others.
    std::int64_t m_given = 0;
    std::int64_t m_last = 0;
};

} // namespace korvane::sample
