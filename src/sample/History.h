#pragma once

#include "sample/MessageContent.h"
#include "sample/People.h"
#include "sample/Random.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
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

/// A row of the message table and the rows that refer to it. An empty text stands for NULL, and
/// handles are indexes into People::handles.
struct Message {
    std::int64_t row = 0;
    ChatChoice chats;
    std::string guid;
    std::string text;
    std::string service;
    std::string roomName;
    std::optional<std::size_t> handle; ///< The sender; in a direct chat always the other person.
    bool fromMe = false;
    bool textIsPlain = false; ///< The text goes to the text column, not to attributedBody.
    std::int64_t date = 0;
    std::int64_t dateDelivered = 0;
    std::int64_t dateRead = 0;

    std::int64_t associatedType = 0;
    std::string associatedGuid;
    std::string threadOriginatorGuid;

    std::int64_t itemType = 0;
    std::string groupTitle;

    bool hasAttachments = false;
    bool attachmentsAreJoined = true;
    std::vector<Attachment> attachments;
};

/// The last messages of one chat, from which replies and reactions choose their target.
class RecentMessages {
public:
    struct Entry {
        std::int64_t row = 0;
        std::string text;
    };

    void add(std::int64_t row, std::string_view text);
    bool empty() const { return m_entries.empty(); }

    /// A random one. There must be at least one.
    const Entry& pick(Random& random) const { return random.pickFrom(m_entries); }

private:
    std::vector<Entry> m_entries; ///< A ring buffer.
    std::size_t m_addedCount = 0;
};

/// Generates the messages of a sample in the order of their rows.
class History {
public:
    /// `people` come from makePeople() with the same seed, and must outlive this object.
    History(std::int64_t messages, std::uint64_t seed, const People& people);

    /// May be called `messages` times.
    Message next();

private:
    void setSender(Message& message, const Chat& chat);
    void setContent(Message& message, const Chat& chat, RecentMessages& recent);
    void makeSystemMessage(Message& message, const Chat& chat);
    void makeReaction(Message& message, const RecentMessages& recent);
    void addAttachments(Message& message);
    void setDates(Message& message);
    std::string referenceTo(const RecentMessages::Entry& target);

    std::uint64_t m_seed;
    const People& m_people;
    Random m_random;
    ChatPicker m_chatPicker;
    Timeline m_timeline;
    std::vector<RecentMessages> m_recent; ///< One per chat, then one for the deleted chat.
    std::int64_t m_row = 0;
};

} // namespace korvane::sample
