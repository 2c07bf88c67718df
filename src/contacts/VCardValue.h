#pragma once

#include "contacts/VCardProperty.h"

#include <cstddef>
#include <string>
#include <string_view>

namespace korvane {

/// The vCard versions whose differences matter here. In 2.1, `\n` is not a line break but two
/// literal characters. Without a known charset, bytes that are not valid UTF-8 are read as
/// windows-1252, except in 4.0, which is always UTF-8 (RFC 6350). A card without a known version is
/// read as 3.0.
enum class VCardVersion { V21, V30, V40 };

/// A property's value, unfolded, decoded and converted to UTF-8. Backslash escapes are kept.
std::string decodedValue(const VCardProperty& property, VCardVersion version);

/// A decoded value as one text: unescaped, without leading and trailing white space.
std::string wholeText(std::string_view value, VCardVersion version);

/// One of the semicolon-separated components of a decoded value, numbered from 0 and processed as
/// by `wholeText`. Empty if the value has fewer components.
std::string componentText(std::string_view value, std::size_t component, VCardVersion version);

/// If `text` is a URI of this scheme, its content, percent-decoded and without the parameters that
/// begin at `parameterMark`; otherwise `text` itself. `scheme` includes the colon.
std::string withoutScheme(std::string text, std::string_view scheme, char parameterMark);

} // namespace korvane
