#include "sample/MessageContent.h"

#include "sample/Words.h"

#include <cassert>
#include <utility>

namespace korvane::sample {

namespace {

std::string_view wordFor(std::string_view placeholder, Random& random)
{
    if (placeholder == "place")
        return random.pick(phrases::place);
    if (placeholder == "time")
        return random.pick(phrases::time);
    if (placeholder == "day")
        return random.pick(phrases::day);
    if (placeholder == "food")
        return random.pick(phrases::food);
    if (placeholder == "activity")
        return random.pick(phrases::activity);
    if (placeholder == "thing")
        return random.pick(phrases::thing);
    return random.pick(phrases::person);
}

/// Appends `phrase` with its placeholders replaced, starting with a capital letter.
void appendFilled(std::string& text, std::string_view phrase, Random& random)
{
    const std::size_t start = text.size();
    std::size_t open = 0;
    while ((open = phrase.find('{')) != phrase.npos) {
        const std::size_t close = phrase.find('}', open);
        text += phrase.substr(0, open);
        text += wordFor(phrase.substr(open + 1, close - open - 1), random);
        phrase.remove_prefix(close + 1);
    }
    text += phrase;
    if (text[start] >= 'a' && text[start] <= 'z')
        text[start] = static_cast<char>(text[start] - 'a' + 'A');
}

/// Usually one or two; 4 to 16 sentences in 3 % of the texts.
std::int64_t sentenceCount(Random& random)
{
    const std::int64_t draw = random.below(1000);
    if (draw < 770)
        return 1;
    if (draw < 910)
        return 2;
    if (draw < 967)
        return 3;
    return random.between(4, 16);
}

void appendSentence(std::string& text, Random& random)
{
    if (!text.empty())
        text += random.chance(60) ? "\n" : " ";
    if (random.chance(300))
        appendFilled(text, random.pick(phrases::questions), random);
    else
        appendFilled(text, random.pick(phrases::statements), random);
}

constexpr std::string_view reactionVerbs[]
    = {"Loved", "Liked", "Disliked", "Laughed at", "Emphasized", "Questioned"};
constexpr std::string_view reactionNouns[]
    = {"a heart", "a like", "a dislike", "a laugh", "an exclamation", "a question mark"};

} // namespace

std::string everydayText(Random& random)
{
    if (random.chance(120))
        return std::string(random.pick(phrases::answers));
    std::string text;
    if (random.chance(80)) {
        appendFilled(text, random.pick(phrases::foreign), random);
        return text;
    }
    for (std::int64_t left = sentenceCount(random); left > 0; --left)
        appendSentence(text, random);
    if (random.chance(120))
        text.append(" ").append(random.pick(phrases::emoji));
    return text;
}

std::string captionText(Random& random)
{
    std::string text;
    appendFilled(text, random.pick(phrases::captions), random);
    return text;
}

std::string reactionText(int kind, bool isRemoval, std::string_view targetText)
{
    std::string text;
    if (isRemoval)
        text.append("Removed ").append(reactionNouns[kind]).append(" from ");
    else
        text.append(reactionVerbs[kind]).append(" ");
    if (targetText.empty())
        return text.append("an image");
    return text.append("“").append(targetText).append("”");
}

namespace {

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

} // namespace

std::vector<Attachment> makeAttachments(const std::string& guid, Random& random)
{
    const std::int64_t count = drawAttachmentCount(random);
    std::vector<Attachment> attachments;
    for (std::int64_t index = 0; index < count; ++index)
        attachments.push_back(makeAttachment("at_" + std::to_string(index) + "_" + guid, random));
    return attachments;
}

namespace {

using namespace std::string_view_literals;

// The literals are split before each class name, for readability.
constexpr std::string_view archiveHeader = "\x04\x0b"
                                           "streamtyped\x81\xe8\x03\x84\x01@\x84\x84\x84\x12"
                                           "NSAttributedString\0\x84\x84\x08"
                                           "NSObject\0\x85\x92\x84\x84\x84\x08"
                                           "NSString\x01\x94\x84\x01+"sv;
constexpr std::string_view attributeRange = "\x86\x84\x02iI\x01"sv;
constexpr std::string_view archiveTrailer
    = "\x92\x84\x84\x84\x0c"
      "NSDictionary\0\x94\x84\x01i\x01\x92\x84\x96\x96\x1d"
      "__kIMMessagePartAttributeName\x86\x92\x84\x99\0\x86\x86"sv;

constexpr std::size_t maxOneByteLength = 0x7F;
constexpr char twoByteLengthTag = '\x81';

void appendLength(std::string& archive, std::size_t length)
{
    if (length > maxOneByteLength) {
        archive += twoByteLengthTag;
        archive += static_cast<char>(length & 0xFF);
        length >>= 8;
    }
    archive += static_cast<char>(length);
}

/// The length of a UTF-8 text in UTF-16 units, in which the archive states the attribute's range.
std::size_t utf16Length(std::string_view text)
{
    std::size_t units = 0;
    for (const char character : text) {
        const auto byte = static_cast<unsigned char>(character);
        const bool startsCharacter = (byte & 0xC0) != 0x80;
        const bool needsTwoUnits = byte >= 0xF0;
        units += (startsCharacter ? 1U : 0U) + (needsTwoUnits ? 1U : 0U);
    }
    return units;
}

} // namespace

std::string encodeAttributedBody(std::string_view text)
{
    assert(text.size() <= maxAttributedBodyText);
    std::string archive;
    archive.reserve(
        archiveHeader.size() + attributeRange.size() + archiveTrailer.size() + text.size() + 6);
    archive += archiveHeader;
    appendLength(archive, text.size());
    archive += text;
    archive += attributeRange;
    appendLength(archive, utf16Length(text));
    archive += archiveTrailer;
    return archive;
}

} // namespace korvane::sample
