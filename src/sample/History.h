#pragma once

#include "sample/People.h"
#include "sample/Random.h"
#include "sample/Schedule.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace korvane::sample {

/// A row of the attachment table.
struct Attachment {
    std::string guid;
    std::string filename;
    std::string transferName;
    std::optional<std::string_view> mimeType;
    std::int64_t totalBytes = 0;
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
