#include "sample/ChatTurns.h"

#include <algorithm>
#include <numeric>
#include <utility>

namespace korvane::sample {

namespace {

constexpr int perThousandInNoChat = 10;
constexpr int perThousandInTwoChats = 3;
constexpr int perThousandGoOn = 850;

/// The n-th busiest chat gets an n-th of what the busiest gets; which one it is, is drawn.
std::vector<std::int64_t> drawWeights(std::int64_t chats, Random& random)
{
    constexpr std::int64_t busiest = 1'000'000'000;
    std::vector<std::int64_t> weights(static_cast<std::size_t>(chats));
    for (std::size_t rank = 0; rank < weights.size(); ++rank)
        weights[rank] = busiest / static_cast<std::int64_t>(rank + 1);
    for (std::size_t left = weights.size(); left > 1; --left)
        std::swap(weights[left - 1], weights[random.next() % left]);
    return weights;
}

} // namespace

ChatTurns::ChatTurns(const SampleSize& size)
    : m_random(size.seed, Random::Purpose::ChatTurns)
    , m_weightUpTo(drawWeights(size.chats, m_random))
    , m_messagesPerStart(size.messages / std::max<std::int64_t>(size.chats, 1) / 2)
{
    std::partial_sum(m_weightUpTo.begin(), m_weightUpTo.end(), m_weightUpTo.begin());
}

ChatTurn ChatTurns::next()
{
    const bool isFirst = m_given++ == 0;
    ChatTurn turn;
    if (chatIsDue()) {
        m_current = m_started++;
        turn.opensConversation = true;
    } else if (m_started == 0 || m_random.chance(perThousandInNoChat)) {
        return {.opensConversation = isFirst || m_started == 0};
    } else if (!m_random.chance(perThousandGoOn)) {
        m_current = startedChat();
        turn.opensConversation = true;
    }
    turn.chat = m_current;
    if (m_random.chance(perThousandInTwoChats))
        turn.secondChat = startedChat();
    if (turn.secondChat == turn.chat)
        turn.secondChat.reset();
    return turn;
}

bool ChatTurns::chatIsDue() const
{
    return m_started < m_weightUpTo.size()
        && m_given > static_cast<std::int64_t>(m_started) * m_messagesPerStart;
}

std::size_t ChatTurns::startedChat()
{
    const auto end = m_weightUpTo.begin() + static_cast<std::ptrdiff_t>(m_started);
    const std::int64_t draw = m_random.below(*(end - 1));
    return static_cast<std::size_t>(
        std::upper_bound(m_weightUpTo.begin(), end, draw) - m_weightUpTo.begin());
}

} // namespace korvane::sample
