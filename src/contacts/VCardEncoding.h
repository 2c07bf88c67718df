#pragma once

#include <string>
#include <string_view>

namespace korvane {

/// Replaces every `marker` and two hexadecimal digits by the byte they name: `=` in
/// quoted-printable, `%` in a URI. A marker without such digits stays.
std::string hexDecoded(std::string_view text, char marker);

/// Turns bytes of `charset` into UTF-8. Where no charset is named, or one that is not known, bytes
/// that are UTF-8 stay as they are and others are taken as `otherwise`. The result is always
/// valid, each maximal ill-formed part being one U+FFFD, and without NULs.
std::string toUtf8(std::string_view bytes, const std::string& charset, const char* otherwise);

/// The text of a whole file: `file` itself, or made UTF-8 in `buffer` where a byte-order mark says
/// that it is UTF-16.
std::string_view fileText(std::string_view file, std::string& buffer);

} // namespace korvane
