#pragma once

#include <optional>
#include <string_view>

namespace korvane {

/// The plain text inside an attributed body (message.attributedBody), as a view into `bytes`. An
/// attributed body is an object archive in the platform's own stream format. This function does not
/// parse the archive. It looks for the first class name "NSString", skips five bytes of type
/// information and reads a length-prefixed text:
///
///     "NSString"  5 bytes  length              text
///     "NSString"  5 bytes  0x81 low high       text        (length = low + 256 × high)
///
/// If the length byte is 0x81, a 16-bit little-endian length follows. Any other value is the length
/// itself, in bytes. Absent if the pattern does not match or the text is not valid UTF-8.
std::optional<std::string_view> textOfAttributedBody(std::string_view bytes);

} // namespace korvane
