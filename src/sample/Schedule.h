#pragma once

#include "sample/Random.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

namespace korvane::sample {

inline constexpr std::int64_t nanosecondsPerSecond = 1'000'000'000;

/// The chats that one message is in, as indexes into People::chats.
struct ChatChoice {
    std::optional<std::size_t> first; ///< Empty if the message is in no chat.
    std::optional<std::size_t> second; ///< Set for a few messages only.
    bool startsConversation = false;
};

/// Assigns the messages to chats in conversations: runs of messages in the same chat. Most of them
/// are in a few busy chats. New chats begin at regular intervals during the first half of the
/// messages, so each chat gets a message if there are enough for all.
class ChatPicker {
public:
    ChatPicker(std::int64_t messages, std::size_t chats, std::uint64_t seed);

    ChatChoice next();

private:
    bool newChatIsDue() const;
    std::size_t pickStartedChat();

    Random m_random;
    std::vector<std::int64_t> m_cumulativeWeights; ///< Sum of the weights up to and with a chat.
    std::int64_t m_messagesPerNewChat;
    std::int64_t m_pickCount = 0;
    std::size_t m_startedChats = 0;
    std::size_t m_currentChat = 0;
};

/// Dates the messages over the eight years before 1 November 2026. The messages of one
/// conversation follow within minutes, and none is written at night. One message in 250 is from
/// the years before, when Messages stored dates in seconds instead of nanoseconds.
class Timeline {
public:
    Timeline(std::int64_t messages, std::uint64_t seed);

    /// The date of the next message, in nanoseconds since the start of 2001; not before the date
    /// returned last. `startsConversation` makes a pause before the message.
    std::int64_t nextNanoseconds(bool startsConversation);

    /// Whether the message dated last is from the years when dates were stored in seconds.
    bool usesSeconds() const { return m_count <= m_oldMessages; }

private:
    std::int64_t conversationStart();

    Random m_random;
    std::int64_t m_oldMessages; ///< How many have dates in seconds.
    std::int64_t m_oldSlot; ///< The time reserved for each of those, in nanoseconds.
    std::int64_t m_slot; ///< The same for each of the others.
    std::int64_t m_count = 0;
    std::int64_t m_last = 0; ///< Before toDaytime().
};

} // namespace korvane::sample
