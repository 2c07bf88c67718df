#pragma once

#include "sample/Random.h"
#include "sample/SampleDatabase.h"

#include <cstddef>
#include <optional>
#include <vector>

namespace korvane::sample {

/// Which chat a message is in, absent for one that belongs to none.
struct ChatTurn {
    std::optional<std::size_t> chat;
    std::optional<std::size_t> secondChat; ///< A few messages are in two.
    bool opensConversation = false;
};

/// Hands the messages to the chats: in conversations of a few messages, most of them in a few
/// busy chats. The chats start one after the other during the first half, and every one has a
/// message if there are enough for all.
class ChatTurns {
public:
    explicit ChatTurns(const SampleSize& size);

    ChatTurn next();

private:
    bool chatIsDue() const;
    std::size_t startedChat();

    Random m_random;
    std::vector<std::int64_t> m_weightUpTo; ///< Of a chat and all before it.
    std::int64_t m_messagesPerStart;
    std::int64_t m_given = 0;
    std::size_t m_started = 0;
    std::size_t m_current = 0;
};

} // namespace korvane::sample
