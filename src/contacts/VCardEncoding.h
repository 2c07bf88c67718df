#pragma once

#include <string>
#include <string_view>

namespace korvane {

/// Replaces each `marker` followed by two hexadecimal digits by the byte that they encode. The
/// marker is `=` in quoted-printable and `%` in a URI. A marker without two digits is kept.
std::string hexDecoded(std::string_view text, char marker);

/// Converts bytes in `charset` to UTF-8. If `charset` is empty or unknown, bytes that are valid
/// UTF-8 are kept, and others are converted from the charset `otherwise`. The result is always
/// valid UTF-8: each maximal ill-formed subsequence becomes one U+FFFD, and NULs are removed.
std::string toUtf8(std::string_view bytes, const std::string& charset, const char* otherwise);

/// The text of a whole file. If it starts with a UTF-16 byte-order mark, the text is converted to
/// UTF-8 in `buffer`; otherwise it is `file` itself.
std::string_view fileText(std::string_view file, std::string& buffer);

} // namespace korvane
