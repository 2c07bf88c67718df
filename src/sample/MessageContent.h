#pragma once

#include "sample/Random.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace korvane::sample {

/// U+FFFC OBJECT REPLACEMENT CHARACTER. A text contains one for each attachment.
inline constexpr std::string_view attachmentMark = "\xEF\xBF\xBC";

/// An ordinary message: usually one or two sentences, sometimes a single word, rarely up to
/// sixteen sentences.
std::string everydayText(Random& random);

/// A short text that accompanies a picture.
std::string captionText(Random& random);

/// The text that Messages stores with a reaction. `kind` counts from 0 (love) to 5 (question).
/// `targetText` is the text of the message reacted to; it is empty if that is only a picture.
std::string reactionText(int kind, bool isRemoval, std::string_view targetText);

/// A row of the attachment table.
struct Attachment {
    std::string guid;
    std::string filename;
    std::string transferName;
    std::optional<std::string_view> mimeType;
    std::int64_t totalBytes = 0;
};

/// The attachments of the message with this guid: usually one, usually a photo. The type of some is
/// unknown.
std::vector<Attachment> makeAttachments(const std::string& guid, Random& random);

/// The longest text, in bytes, that encodeAttributedBody() accepts.
inline constexpr std::size_t maxAttributedBodyText = 0xFFFF;

/// Encodes a text as the archive of an attributed string without attributes, as Messages stores
/// it in message.attributedBody. The text is valid UTF-8 of at most `maxAttributedBodyText`
/// bytes. The archive contains it after the first "NSString" and five more bytes, preceded by its
/// length in bytes:
///
///     up to 127    one byte
///     from 128     0x81, then two bytes, little-endian
std::string encodeAttributedBody(std::string_view text);

} // namespace korvane::sample
