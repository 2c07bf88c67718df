#include "sample/History.h"

#include "sample/MessageText.h"

#include <utility>

namespace korvane::sample {

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

constexpr std::int64_t hour = 3600 * nanosecondsPerSecond;

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

struct FileKind {
    int perThousand;
    std::string_view namePrefix;
    std::string_view extension;
    std::optional<std::string_view> mimeType;
    std::int64_t typicalBytes;
};

/// Used when drawFileKind() draws none of the others.
constexpr FileKind photo{0, "IMG_", ".jpeg", "image/jpeg", 2'400'000};
constexpr FileKind otherKinds[] = {
    {320, "IMG_", ".HEIC", "image/heic", 1'900'000},
    {120, "Screenshot ", ".png", "image/png", 700'000},
    {60, "IMG_", ".MOV", "video/quicktime", 28'000'000},
    {25, "video-", ".mp4", "video/mp4", 9'000'000},
    {35, "Invoice ", ".pdf", "application/pdf", 240'000},
    {20, "Voice ", ".m4a", "audio/x-m4a", 120'000},
    {25, "document-", "", std::nullopt, 54'000},
    {10, "scan-", ".dat", "", 300'000},
    {10, "export ", ".bin", "  ", 12'000},
};

const FileKind& drawFileKind(Random& random)
{
    std::int64_t draw = random.below(1000);
    for (const FileKind& kind : otherKinds) {
        draw -= kind.perThousand;
        if (draw < 0)
            return kind;
    }
    return photo;
}

std::int64_t drawAttachmentCount(Random& random)
{
    return random.chance(850) ? 1 : random.between(2, 5);
}

Attachment makeAttachment(std::string guid, Random& random)
{
    const FileKind& kind = drawFileKind(random);
    Attachment attachment;
    attachment.transferName = kind.namePrefix;
    attachment.transferName.append(std::to_string(random.between(1000, 9999)));
    attachment.transferName.append(kind.extension);
    attachment.filename = "~/Library/Messages/Attachments/" + guid + "/" + attachment.transferName;
    attachment.guid = std::move(guid);
    attachment.mimeType = kind.mimeType;
    attachment.totalBytes = random.between(kind.typicalBytes / 2, kind.typicalBytes * 2);
    return attachment;
}

/// The attachments of the message with this guid: usually one, usually a photo. The type of some is
/// unknown.
std::vector<Attachment> makeAttachments(const std::string& guid, Random& random)
{
    const std::int64_t count = drawAttachmentCount(random);
    std::vector<Attachment> attachments;
    for (std::int64_t index = 0; index < count; ++index)
        attachments.push_back(makeAttachment("at_" + std::to_string(index) + "_" + guid, random));
    return attachments;
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
