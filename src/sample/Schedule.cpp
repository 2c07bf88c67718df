#include "sample/Schedule.h"

#include <algorithm>
#include <numeric>
#include <utility>

namespace korvane::sample {

namespace {

constexpr int perThousandInNoChat = 10;
constexpr int perThousandInTwoChats = 3;
constexpr int perThousandContinue = 850;

/// The weights 1, 1/2, 1/3, and so on (Zipf's law), scaled to integers and shuffled.
std::vector<std::int64_t> drawWeights(std::size_t chats, Random& random)
{
    constexpr std::int64_t largest = 1'000'000'000;
    std::vector<std::int64_t> weights(chats);
    for (std::size_t rank = 0; rank < weights.size(); ++rank)
        weights[rank] = largest / static_cast<std::int64_t>(rank + 1);
    for (std::size_t left = weights.size(); left > 1; --left)
        std::swap(weights[left - 1], weights[random.next() % left]);
    return weights;
}

} // namespace

ChatPicker::ChatPicker(std::int64_t messages, std::size_t chats, std::uint64_t seed)
    : m_random(seed, Random::Purpose::Chats)
    , m_cumulativeWeights(drawWeights(chats, m_random))
    , m_messagesPerNewChat(
          messages / static_cast<std::int64_t>(std::max<std::size_t>(chats, 1)) / 2)
{
    std::partial_sum(
        m_cumulativeWeights.begin(), m_cumulativeWeights.end(), m_cumulativeWeights.begin());
}

ChatChoice ChatPicker::next()
{
    const bool isFirst = m_pickCount++ == 0;
    ChatChoice choice;
    if (newChatIsDue()) {
        m_currentChat = m_startedChats++;
        choice.startsConversation = true;
    } else if (m_startedChats == 0 || m_random.chance(perThousandInNoChat)) {
        return {.startsConversation = isFirst || m_startedChats == 0};
    } else if (!m_random.chance(perThousandContinue)) {
        m_currentChat = pickStartedChat();
        choice.startsConversation = true;
    }
    choice.first = m_currentChat;
    if (m_random.chance(perThousandInTwoChats))
        choice.second = pickStartedChat();
    if (choice.second == choice.first)
        choice.second.reset();
    return choice;
}

bool ChatPicker::newChatIsDue() const
{
    return m_startedChats < m_cumulativeWeights.size()
        && m_pickCount > static_cast<std::int64_t>(m_startedChats) * m_messagesPerNewChat;
}

std::size_t ChatPicker::pickStartedChat()
{
    const auto end = m_cumulativeWeights.begin() + static_cast<std::ptrdiff_t>(m_startedChats);
    const std::int64_t draw = m_random.below(*(end - 1));
    return static_cast<std::size_t>(
        std::upper_bound(m_cumulativeWeights.begin(), end, draw) - m_cumulativeWeights.begin());
}

namespace {

constexpr std::int64_t hour = 3600 * nanosecondsPerSecond;
constexpr std::int64_t day = 24 * hour;
constexpr std::int64_t end = 815'184'000 * nanosecondsPerSecond;
constexpr std::int64_t start = end - 2922 * day;
constexpr std::int64_t oldStart = start - 1000 * day;

constexpr std::int64_t messagesPerOldMessage = 250;
constexpr std::int64_t maxPause = 300 * nanosecondsPerSecond;

/// Maps each day linearly to its hours from 7:00 to 23:00. Keeps the order.
std::int64_t toDaytime(std::int64_t time)
{
    const std::int64_t timeOfDay = time % day;
    return time - timeOfDay + 7 * hour + timeOfDay / 3 * 2;
}

} // namespace

// A conversation starts within the slot of its first message, and each further message adds less
// than a slot. So the conversation ends before the slot in which the next one starts.
Timeline::Timeline(std::int64_t messages, std::uint64_t seed)
    : m_random(seed, Random::Purpose::Timeline)
    , m_oldMessages(messages / messagesPerOldMessage)
    , m_oldSlot((start - oldStart) / std::max<std::int64_t>(m_oldMessages, 1))
    , m_slot((end - start) / std::max<std::int64_t>(messages - m_oldMessages, 1))
{
}

std::int64_t Timeline::nextNanoseconds(bool startsConversation)
{
    ++m_count;
    const bool isFirstNewMessage = m_count == m_oldMessages + 1;
    if (startsConversation || isFirstNewMessage)
        m_last = conversationStart();
    else
        m_last += m_random.below(std::min(maxPause, usesSeconds() ? m_oldSlot : m_slot));
    return toDaytime(m_last);
}

std::int64_t Timeline::conversationStart()
{
    if (usesSeconds())
        return oldStart + (m_count - 1) * m_oldSlot + m_random.below(m_oldSlot);
    return start + (m_count - m_oldMessages - 1) * m_slot + m_random.below(m_slot);
}

} // namespace korvane::sample
