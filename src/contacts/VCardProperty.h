#pragma once

#include "text/Ascii.h"

#include <cstddef>
#include <string>
#include <string_view>

namespace korvane {

/// The properties of a card that are used here. Any other property is Other.
enum class VCardField {
    Other,
    Begin,
    End,
    Version,
    Agent,
    Kind,
    EvolutionList,
    Name,
    FormattedName,
    Organization,
    Phone,
    Email,
};

/// Whether the value of this property is a text that becomes part of a contact.
constexpr bool isText(VCardField field)
{
    return field >= VCardField::Name;
}

/// One property of a card: `[group.]name[;parameter…]:value`. The views point into the VCardText
/// that it comes from.
struct VCardProperty {
    VCardField field = VCardField::Other;
    std::string_view parameters;
    std::string_view value;
};

/// Parses `header`, which precedes the colon of a line and has no folds. Names are matched in any
/// case and group.
VCardProperty parseVCardProperty(std::string_view header, std::string_view value);

/// The encoding of a property's value.
struct VCardEncoding {
    bool quotedPrintable = false;
    std::string charset; ///< empty if none is named
};

/// Reads the parameters ENCODING and CHARSET. Version 2.1 allows an encoding without the name
/// ENCODING.
VCardEncoding encodingOf(const VCardProperty& property);

/// The vCard versions whose differences matter here. In 2.1, `\n` is not a line break but two
/// literal characters. Without a known charset, bytes that are not valid UTF-8 are read as
/// windows-1252, except in 4.0, which is always UTF-8 (RFC 6350). A card without a known version is
/// read as 3.0.
enum class VCardVersion { V21, V30, V40 };

/// The value of a text, decoded and converted to UTF-8. The result is always valid UTF-8: each
/// maximal ill-formed subsequence becomes one U+FFFD, and NULs are removed. Backslash escapes are
/// kept.
std::string decodedValue(const VCardProperty& property, VCardVersion version);

/// A decoded value as one text: unescaped, without leading and trailing white space.
std::string wholeText(std::string_view value, VCardVersion version);

/// One of the semicolon-separated components of a decoded value, numbered from 0 and processed as
/// by `wholeText`. Empty if the value has fewer components.
std::string componentText(std::string_view value, std::size_t component, VCardVersion version);

/// If `text` is a URI of this scheme, its content, percent-decoded and without the parameters that
/// begin at `parameterMark`; otherwise `text` itself. `scheme` includes the colon.
std::string withoutScheme(std::string text, std::string_view scheme, char parameterMark);

/// `text` without leading and trailing white space. NULs count as white space, because they pad
/// damaged files.
constexpr std::string_view withoutBlanks(std::string_view text)
{
    return trimmed(text, std::string_view(" \t\r\n\0", 5));
}

/// The position of the first `sought` outside double quotes, or npos.
std::size_t findUnquoted(std::string_view text, char sought);

/// Converts bytes to UTF-8 from a charset that ICU knows. Invalid bytes become U+FFFD.
std::string converted(std::string_view bytes, const char* charset);

} // namespace korvane
