#pragma once

#include "contacts/VCardProperty.h"

#include <cstddef>
#include <string>
#include <string_view>

namespace korvane {

/// How versions differ here. In version 2.1 `\n` is no line break but two typed characters. Where
/// no charset is named, bytes that are not UTF-8 are windows-1252, except in version 4.0, which is
/// UTF-8 by its standard. A card that tells no version is read as 3.0.
enum class VCardVersion { V21, V30, V40 };

/// A property's value as UTF-8, its escapes still in place.
std::string decodedValue(const VCardProperty& property, VCardVersion version);

/// A decoded value as one text: unescaped, without white space around it.
std::string wholeText(std::string_view value, VCardVersion version);

/// One of the components, counted from 0, that a decoded value divides by semicolons; treated as
/// `wholeText` does, and empty when the value has fewer.
std::string componentText(std::string_view value, std::size_t component, VCardVersion version);

/// What `text` names if it is a URI of this scheme, percent-decoded and without the parameters
/// that `parameterMark` begins; otherwise `text` itself.
std::string withoutScheme(std::string text, std::string_view scheme, char parameterMark);

} // namespace korvane
