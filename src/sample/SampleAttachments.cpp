#include "sample/SampleAttachments.h"

namespace korvane::sample {

namespace {

struct FileKind {
    int perThousand;
    std::string_view namePrefix;
    std::string_view extension;
    std::optional<std::string_view> mimeType;
    std::int64_t typicalBytes;
};

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

const FileKind& drawKind(Random& random)
{
    std::int64_t draw = random.below(1000);
    for (const FileKind& kind : otherKinds) {
        draw -= kind.perThousand;
        if (draw < 0)
            return kind;
    }
    return photo;
}

std::int64_t drawCount(Random& random)
{
    return random.chance(850) ? 1 : random.between(2, 5);
}

SampleAttachment makeAttachment(std::string guid, Random& random)
{
    const FileKind& kind = drawKind(random);
    SampleAttachment made;
    made.transferName = kind.namePrefix;
    made.transferName.append(std::to_string(random.between(1000, 9999)));
    made.transferName.append(kind.extension);
    made.filename = "~/Library/Messages/Attachments/" + guid + "/" + made.transferName;
    made.guid = std::move(guid);
    made.mimeType = kind.mimeType;
    made.totalBytes = random.between(kind.typicalBytes / 2, kind.typicalBytes * 2);
    return made;
}

} // namespace

std::vector<SampleAttachment> makeAttachments(const std::string& messageGuid, Random& random)
{
    const std::int64_t count = drawCount(random);
    std::vector<SampleAttachment> made;
    for (std::int64_t index = 0; index < count; ++index)
        made.push_back(makeAttachment("at_" + std::to_string(index) + "_" + messageGuid, random));
    return made;
}

} // namespace korvane::sample
