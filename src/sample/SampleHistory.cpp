#include "sample/SampleHistory.h"

#include "sample/Guid.h"
#include "sample/SampleText.h"

namespace korvane::sample {

namespace {

constexpr int perThousandSystem = 8;
constexpr int perThousandWithAttachments = 60;
constexpr int perThousandReactions = 102;
constexpr int perThousandRemovals = 60;
constexpr int perThousandReplies = 61;
constexpr int perThousandDangling = 20;
constexpr int perThousandLate = 12;
constexpr int perThousandPlainTexts = 150;
constexpr int perThousandFromMe = 460;
constexpr int perThousandUnjoined = 50;
constexpr int perThousandCaptioned = 350;

constexpr std::int64_t hour = 3600 * nanosecondsPerSecond;

constexpr std::int64_t firstReaction = 2000;
constexpr std::int64_t firstRemoval = 3000;

/// Hearts and thumbs far more often than question marks.
int drawReactionKind(Random& random)
{
    static constexpr int kinds[] = {0, 0, 0, 0, 1, 1, 1, 1, 1, 2, 3, 3, 3, 4, 4, 5};
    return random.pick(kinds);
}

/// A reaction names its target's part, its bubble, or the target alone.
std::string associatedForm(const std::string& guid, Random& random)
{
    const std::int64_t draw = random.below(100);
    if (draw < 80)
        return "p:0/" + guid;
    if (draw < 83)
        return "p:1/" + guid;
    return draw < 92 ? "bp:" + guid : guid;
}

std::string withoutMarks(std::string_view text)
{
    while (text.starts_with(attachmentMark))
        text.remove_prefix(attachmentMark.size());
    return std::string(text);
}

} // namespace

SampleHistory::SampleHistory(const SampleSize& size, const SamplePeople& people)
    : m_seed(size.seed)
    , m_people(people)
    , m_random(size.seed, Random::Purpose::Messages)
    , m_turns(size)
    , m_timeline(size.messages, size.seed)
    , m_recent(people.chats.size() + 1)
{
}

SampleMessage SampleHistory::next()
{
    SampleMessage message;
    message.row = ++m_row;
    message.guid = messageGuid(m_seed, m_row);
    message.turn = m_turns.next();
    const std::size_t index = message.turn.chat.value_or(m_people.chats.size());
    const Chat& chat = message.turn.chat ? m_people.chats[index] : m_people.deletedChat;
    setSender(message, chat);
    setContent(message, chat, m_recent[index]);
    setDates(message);
    return message;
}

void SampleHistory::setSender(SampleMessage& message, const Chat& chat)
{
    message.service = chat.service;
    message.roomName = chat.isGroup ? chat.identifier : std::string();
    message.fromMe = m_random.chance(perThousandFromMe);
    if (!message.fromMe || !chat.isGroup)
        message.handle = m_random.pickFrom(chat.members);
}

void SampleHistory::setContent(SampleMessage& message, const Chat& chat, RecentMessages& recent)
{
    message.textIsPlain = m_random.chance(perThousandPlainTexts);
    const std::int64_t draw = m_random.below(1000);
    if (draw < perThousandSystem)
        return makeSystem(message, chat);
    if (draw < perThousandSystem + perThousandReactions && !recent.empty())
        return makeReaction(message, recent);
    if (draw >= 1000 - perThousandWithAttachments)
        attachFiles(message);
    else
        message.text = everydayText(m_random);
    if (!recent.empty() && m_random.chance(perThousandReplies))
        message.threadOriginatorGuid = guidOf(recent.pick(m_random));
    recent.remember(message.row, withoutMarks(message.text));
}

/// Group chats: somebody joined, left, or gave the chat a name. Otherwise a shared location.
void SampleHistory::makeSystem(SampleMessage& message, const Chat& chat)
{
    message.itemType = chat.isGroup ? m_random.between(1, 3) : 4;
    if (message.itemType == 2)
        message.groupTitle = chat.displayName;
}

void SampleHistory::makeReaction(SampleMessage& message, const RecentMessages& recent)
{
    const int kind = drawReactionKind(m_random);
    const bool removal = m_random.chance(perThousandRemovals);
    const RecentMessage& target = recent.pick(m_random);
    message.associatedType = (removal ? firstRemoval : firstReaction) + kind;
    message.associatedGuid = associatedForm(guidOf(target), m_random);
    message.text = reactionText(kind, removal, target.text);
}

/// Sometimes the row says that there are files, and none is joined: they were cleared away.
void SampleHistory::attachFiles(SampleMessage& message)
{
    message.hasAttachments = true;
    message.attachments = makeAttachments(message.guid, m_random);
    message.attachmentsAreJoined = !m_random.chance(perThousandUnjoined);
    for (std::size_t count = message.attachments.size(); count > 0; --count)
        message.text += attachmentMark;
    if (m_random.chance(perThousandCaptioned))
        message.text += captionText(m_random);
}

void SampleHistory::setDates(SampleMessage& message)
{
    message.date = m_timeline.nextNanoseconds(message.turn.opensConversation);
    if (m_timeline.countsSeconds()) {
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

/// What a reference to the message says; now and then to one that is gone.
std::string SampleHistory::guidOf(const RecentMessage& message)
{
    if (m_random.chance(perThousandDangling))
        return messageGuid(~m_seed, message.row);
    return messageGuid(m_seed, message.row);
}

} // namespace korvane::sample
