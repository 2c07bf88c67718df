#include "reader/PackedChat.h"

#include "reader/Conversation.h"
#include "reader/PackedNumbers.h"

#include <algorithm>
#include <array>
#include <string_view>
#include <tuple>
#include <utility>

namespace korvane {

namespace {

constexpr std::size_t blockBytes = 262'144;
constexpr std::size_t blockEntries = 4096;

enum EntryFlag : std::uint8_t { SystemLine = 1, LooseReaction = 2, NoDate = 4, Outgoing = 8 };

std::uint8_t flagsOf(const Message& message, const Record& record)
{
    unsigned flags = 0;
    if (message.kind == MessageKind::System)
        flags |= SystemLine;
    if (message.isReaction())
        flags |= LooseReaction;
    if (!message.hasTime())
        flags |= NoDate;
    if (record.isOutgoing)
        flags |= Outgoing;
    return static_cast<std::uint8_t>(flags);
}

std::uint64_t attachmentsOf(const Record& record)
{
    const std::int64_t photos = record.photoCount.value_or(0);
    if (photos > 0)
        return static_cast<std::uint64_t>(photos) + 1;
    return record.attachmentCount > 0 ? 1 : 0;
}

std::uint64_t reactionNumber(const Record& record)
{
    constexpr std::array<std::string_view, 6> kinds{
        "love", "like", "dislike", "laugh", "emphasize", "question"};
    const auto found = std::find(kinds.begin(), kinds.end(), record.reactionKind.value_or(""));
    return static_cast<std::uint64_t>(found - kinds.begin());
}

/// Adds the texts of entries to blocks.
class TextBlocks {
public:
    void append(std::string_view text)
    {
        if (m_entries == blockEntries || m_texts.size() >= blockBytes)
            finishBlock();
        if (m_entries > 0)
            m_texts += '\0';
        const std::size_t begin = m_texts.size();
        m_texts += text;
        std::replace(
            m_texts.begin() + static_cast<std::ptrdiff_t>(begin), m_texts.end(), '\0', ' ');
        ++m_entries;
    }

    std::vector<PackedChat::Block> finished()
    {
        if (m_entries > 0)
            finishBlock();
        return std::move(m_blocks);
    }

private:
    void finishBlock()
    {
        m_blocks.push_back({m_entries, m_texts});
        m_entries = 0;
        m_texts.clear();
    }

    std::vector<PackedChat::Block> m_blocks;
    std::size_t m_entries = 0;
    std::string m_texts;
};

/// Appends entries and reactions to one string for each column.
class Packer {
public:
    Packer(const Conversation& conversation, const Selection& chosen, PagePeople& people)
        : m_conversation(conversation)
        , m_people(people)
        , m_places(conversation.messages().size(), Message::none)
    {
        for (const std::uint32_t index : chosen) {
            if (!messageAt(index).isReaction())
                m_places[index] = 0; // so that isAttached() knows it
        }
        for (const std::uint32_t index : chosen) {
            if (!isAttached(index))
                m_places[index] = static_cast<std::uint32_t>(m_entries++);
        }
    }

    PackedChat pack(const Selection& chosen)
    {
        for (const std::uint32_t index : chosen) {
            const Record record = m_conversation.record(index);
            const std::uint32_t person = m_people.numberOf(record);
            if (isAttached(index))
                m_reactions.try_emplace(index, person, reactionNumber(record));
            else
                append(index, record, person);
        }
        appendReactions();
        m_chat.entries = m_entries;
        m_chat.facts = m_times + m_rows + m_persons + m_flags + m_attachments + m_replies
            + m_reactionColumns;
        m_chat.blocks = m_texts.finished();
        return std::move(m_chat);
    }

private:
    const Message& messageAt(std::uint32_t index) const { return m_conversation.messages()[index]; }

    /// Whether it is a reaction, or a removal of one, to a chosen message.
    bool isAttached(std::uint32_t index) const
    {
        const Message& message = messageAt(index);
        return message.isReaction() && message.target != Message::none
            && m_places[message.target] != Message::none && !messageAt(message.target).isReaction();
    }

    void append(std::uint32_t index, const Record& record, std::uint32_t person)
    {
        const Message& message = messageAt(index);
        noteTime(message);
        m_timeColumn.append(m_times, m_time);
        m_rowColumn.append(m_rows, message.row);
        PackedNumbers::append(m_persons, person);
        m_flags += static_cast<char>(flagsOf(message, record));
        PackedNumbers::append(m_attachments, attachmentsOf(record));
        PackedNumbers::append(m_replies, replyOf(index, record));
        m_texts.append(record.body);
        m_chat.messages += message.kind == MessageKind::Message ? 1 : 0;
        if (!message.isReaction())
            m_messages.push_back(index);
    }

    /// An entry without a date has the time of the one before it, because a page shows it there.
    void noteTime(const Message& message)
    {
        if (!message.hasTime())
            return;
        m_time = message.time;
        m_chat.last = message.time;
        if (!std::exchange(m_hasTime, true))
            m_chat.first = message.time;
    }

    std::uint64_t replyOf(std::uint32_t index, const Record& record) const
    {
        const std::uint32_t target = messageAt(index).target;
        if (messageAt(index).isReaction() || !record.replyToID)
            return 0;
        if (target == Message::none || m_places[target] == Message::none)
            return 1;
        const auto distance = std::int64_t{m_places[target]} - std::int64_t{m_places[index]};
        return 2 + PackedNumbers::zigzag(distance);
    }

    void appendReactions()
    {
        const StandingReactions standing(m_conversation);
        std::uint64_t count = 0;
        std::string entries;
        std::string people;
        std::string kinds;
        PackedNumbers::Differences entryColumn;
        for (const std::uint32_t message : m_messages) {
            for (const std::uint32_t reaction : standing.to(message)) {
                const auto found = m_reactions.find(reaction);
                if (found == m_reactions.end()) // not chosen
                    continue;
                ++count;
                entryColumn.append(entries, m_places[message]);
                PackedNumbers::append(people, found->second.first);
                PackedNumbers::append(kinds, found->second.second);
            }
        }
        PackedNumbers::append(m_reactionColumns, count);
        m_reactionColumns += entries + people + kinds;
    }

    const Conversation& m_conversation;
    PagePeople& m_people;
    std::vector<std::uint32_t> m_places; ///< by index in the conversation: the entry, or none
    std::size_t m_entries = 0;
    std::vector<std::uint32_t> m_messages; ///< chosen, in order, to which reactions can belong
    std::unordered_map<std::uint32_t, std::pair<std::uint32_t, std::uint64_t>>
        m_reactions; ///< person and kind, by index in the conversation

    PackedChat m_chat;
    bool m_hasTime = false;
    std::int64_t m_time = 0;
    PackedNumbers::Differences m_timeColumn;
    PackedNumbers::Differences m_rowColumn;
    std::string m_times;
    std::string m_rows;
    std::string m_persons;
    std::string m_flags;
    std::string m_attachments;
    std::string m_replies;
    std::string m_reactionColumns;
    TextBlocks m_texts;
};

} // namespace

std::uint32_t PagePeople::numberOf(const Record& record)
{
    const std::string key = record.senderID ? "id:" + *record.senderID : "name:" + record.sender;
    const auto next = static_cast<std::uint32_t>(m_people.size());
    const auto [found, isNew] = m_numbers.try_emplace(key, next);
    if (isNew)
        m_people.push_back({record.sender, record.senderID == "messages:self"});
    else if (m_people[found->second].name != record.sender)
        m_people[found->second].name = record.sender;
    return found->second;
}

PackedChat PackedChat::of(
    const Conversation& conversation, const Selection& chosen, PagePeople& people)
{
    return Packer(conversation, chosen, people).pack(chosen);
}

} // namespace korvane
