#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace korvane::sample {

/// The longest text, in bytes, that an attributed body is made for here.
inline constexpr std::size_t longestBodyText = 0xFFFF;

/// The archive in which Messages keeps a text without attributes of its own. The text is valid
/// UTF-8 of at most `longestBodyText` bytes. In the archive it follows the first "NSString":
///
///     five bytes, the length, the text
///
/// with a length of one byte up to 127, and 0x81 and two bytes, little-endian, beyond.
std::string encodeAttributedBody(std::string_view text);

} // namespace korvane::sample
