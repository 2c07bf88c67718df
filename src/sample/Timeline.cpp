#include "sample/Timeline.h"

#include <algorithm>

namespace korvane::sample {

namespace {

constexpr std::int64_t hour = 3600 * nanosecondsPerSecond;
constexpr std::int64_t day = 24 * hour;
constexpr std::int64_t end = 815'184'000 * nanosecondsPerSecond;
constexpr std::int64_t start = end - 2922 * day;
constexpr std::int64_t oldStart = start - 1000 * day;

constexpr std::int64_t messagesPerOldOne = 250;
constexpr std::int64_t longestPause = 300 * nanosecondsPerSecond;

/// Squeezes each day into the sixteen hours from 7 to 23 o'clock; keeps the order.
std::int64_t byDay(std::int64_t time)
{
    const std::int64_t timeOfDay = time % day;
    return time - timeOfDay + 7 * hour + timeOfDay / 3 * 2;
}

} // namespace

// A conversation starts within the slot of its first message and has less than a slot from each
// message to the next, so it ends before the slot in which the next one starts.
Timeline::Timeline(std::int64_t messages, std::uint64_t seed)
    : m_random(seed, Random::Purpose::Timeline)
    , m_oldMessages(messages / messagesPerOldOne)
    , m_oldSlot((start - oldStart) / std::max<std::int64_t>(m_oldMessages, 1))
    , m_slot((end - start) / std::max<std::int64_t>(messages - m_oldMessages, 1))
{
}

std::int64_t Timeline::nextNanoseconds(bool opensConversation)
{
    ++m_given;
    const bool leavesOldDays = m_given == m_oldMessages + 1;
    if (opensConversation || leavesOldDays)
        m_last = conversationStart();
    else
        m_last += m_random.below(std::min(longestPause, countsSeconds() ? m_oldSlot : m_slot));
    return byDay(m_last);
}

std::int64_t Timeline::conversationStart()
{
    if (countsSeconds())
        return oldStart + (m_given - 1) * m_oldSlot + m_random.below(m_oldSlot);
    return start + (m_given - m_oldMessages - 1) * m_slot + m_random.below(m_slot);
}

} // namespace korvane::sample
