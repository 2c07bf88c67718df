#include "sample/History.h"

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

namespace {

constexpr int perThousandSystem = 8;
constexpr int perThousandWithAttachments = 60;
constexpr int perThousandReactions = 102;
constexpr int perThousandRemovals = 60;
constexpr int perThousandReplies = 61;
constexpr int perThousandDanglingReferences = 20;
constexpr int perThousandLate = 12;
constexpr int perThousandPlainTexts = 150;
constexpr int perThousandFromMe = 460;
constexpr int perThousandWithoutJoins = 50;
constexpr int perThousandCaptioned = 350;

constexpr std::int64_t firstReaction = 2000;
constexpr std::int64_t firstRemoval = 3000;

constexpr std::size_t recentMessageCount = 8;

constexpr std::string_view guidPattern = "xxxxxxxx-xxxx-4xxx-Axxx-xxxxxxxxxxxx";
constexpr int digitsPerWord = 16;

/// The sixteen hexadecimal digits of a number, lowest first.
class HexDigits {
public:
    explicit HexDigits(std::uint64_t bits) : m_bits(bits) { }

    char next()
    {
        const char digit = "0123456789ABCDEF"[m_bits & 0xF];
        m_bits >>= 4;
        return digit;
    }

private:
    std::uint64_t m_bits;
};

/// The guid of the message with this row id. It is computed from the row, so a reference needs to
/// know only the row of its target.
std::string messageGuid(std::uint64_t seed, std::int64_t row)
{
    const std::uint64_t bits = mixBits(mixBits(~seed) + static_cast<std::uint64_t>(row));
    HexDigits first(bits);
    HexDigits second(mixBits(bits));
    std::string guid(guidPattern);
    int digits = 0;
    for (char& character : guid)
        if (character == 'x')
            character = digits++ < digitsPerWord ? first.next() : second.next();
    return guid;
}

/// 0 (love) and 1 (like) are the most frequent, 2 (dislike) and 5 (question) the rarest.
int drawReactionKind(Random& random)
{
    static constexpr int kinds[] = {0, 0, 0, 0, 1, 1, 1, 1, 1, 2, 3, 3, 3, 4, 4, 5};
    return random.pick(kinds);
}

/// The forms in which Messages refers to the target of a reaction: a part of it ("p:"), its bubble
/// ("bp:"), or its guid alone.
std::string reactionReference(const std::string& guid, Random& random)
{
    const std::int64_t draw = random.below(100);
    if (draw < 80)
        return "p:0/" + guid;
    if (draw < 83)
        return "p:1/" + guid;
    return draw < 92 ? "bp:" + guid : guid;
}

std::string withoutAttachmentMarks(std::string_view text)
{
    while (text.starts_with(attachmentMark))
        text.remove_prefix(attachmentMark.size());
    return std::string(text);
}

} // namespace

void RecentMessages::add(std::int64_t row, std::string_view text)
{
    if (m_entries.size() < recentMessageCount)
        m_entries.emplace_back();
    Entry& entry = m_entries[m_addedCount++ % recentMessageCount];
    entry.row = row;
    entry.text = text;
}

History::History(std::int64_t messages, std::uint64_t seed, const People& people)
    : m_seed(seed)
    , m_people(people)
    , m_random(seed, Random::Purpose::Messages)
    , m_chatPicker(messages, people.chats.size(), seed)
    , m_timeline(messages, seed)
    , m_recent(people.chats.size() + 1)
{
}

Message History::next()
{
    Message message;
    message.row = ++m_row;
    message.guid = messageGuid(m_seed, m_row);
    message.chats = m_chatPicker.next();
    const std::size_t index = message.chats.first.value_or(m_people.chats.size());
    const Chat& chat = message.chats.first ? m_people.chats[index] : m_people.deletedChat;
    setSender(message, chat);
    setContent(message, chat, m_recent[index]);
    setDates(message);
    return message;
}

void History::setSender(Message& message, const Chat& chat)
{
    message.service = chat.service;
    message.roomName = chat.isGroup ? chat.identifier : std::string();
    message.fromMe = m_random.chance(perThousandFromMe);
    if (!message.fromMe || !chat.isGroup)
        message.handle = m_random.pickFrom(chat.members);
}

void History::setContent(Message& message, const Chat& chat, RecentMessages& recent)
{
    message.textIsPlain = m_random.chance(perThousandPlainTexts);
    const std::int64_t draw = m_random.below(1000);
    if (draw < perThousandSystem)
        return makeSystemMessage(message, chat);
    if (draw < perThousandSystem + perThousandReactions && !recent.empty())
        return makeReaction(message, recent);
    if (draw >= 1000 - perThousandWithAttachments)
        addAttachments(message);
    else
        message.text = everydayText(m_random);
    if (!recent.empty() && m_random.chance(perThousandReplies))
        message.threadOriginatorGuid = referenceTo(recent.pick(m_random));
    recent.add(message.row, withoutAttachmentMarks(message.text));
}

/// In a group: a member joined or left (1, 3), or the chat got a name (2). Otherwise: a shared
/// location (4).
void History::makeSystemMessage(Message& message, const Chat& chat)
{
    message.itemType = chat.isGroup ? m_random.between(1, 3) : 4;
    if (message.itemType == 2)
        message.groupTitle = chat.displayName;
}

void History::makeReaction(Message& message, const RecentMessages& recent)
{
    const int kind = drawReactionKind(m_random);
    const bool isRemoval = m_random.chance(perThousandRemovals);
    const RecentMessages::Entry& target = recent.pick(m_random);
    message.associatedType = (isRemoval ? firstRemoval : firstReaction) + kind;
    message.associatedGuid = reactionReference(referenceTo(target), m_random);
    message.text = reactionText(kind, isRemoval, target.text);
}

/// In a few messages the attachments have no join rows, as after Messages has deleted the files.
void History::addAttachments(Message& message)
{
    message.hasAttachments = true;
    message.attachments = makeAttachments(message.guid, m_random);
    message.attachmentsAreJoined = !m_random.chance(perThousandWithoutJoins);
    for (std::size_t count = message.attachments.size(); count > 0; --count)
        message.text += attachmentMark;
    if (m_random.chance(perThousandCaptioned))
        message.text += captionText(m_random);
}

/// A few messages arrive late: their date is hours before the dates of preceding rows.
void History::setDates(Message& message)
{
    message.date = m_timeline.nextNanoseconds(message.chats.startsConversation);
    if (m_timeline.usesSeconds()) {
        message.date /= nanosecondsPerSecond;
        return;
    }
    if (message.fromMe)
        message.dateDelivered = message.date + m_random.between(1, 5) * nanosecondsPerSecond;
    else
        message.dateRead = message.date + m_random.below(7200) * nanosecondsPerSecond;
    const bool isContent = message.associatedType == 0 && message.itemType == 0;
    if (isContent && m_random.chance(perThousandLate))
        message.date -= m_random.between(1, 240) * hour;
}

/// The guid of the target, or rarely the guid of no message, as after the target was deleted.
std::string History::referenceTo(const RecentMessages::Entry& target)
{
    if (m_random.chance(perThousandDanglingReferences))
        return messageGuid(~m_seed, target.row);
    return messageGuid(m_seed, target.row);
}

} // namespace korvane::sample
