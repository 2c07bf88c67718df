#pragma once

#include <optional>
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

/// One property of a card: `[group.]name[;parameter…]:value`. The views point into the line as
/// written and include its folds.
struct VCardProperty {
    VCardField field = VCardField::Other;
    std::string_view parameters;
    std::string_view value;
};

/// Parses a line as returned by VCardLines. Absent if it has no colon, like a line of base64. Names
/// are matched in any case and group.
std::optional<VCardProperty> parseVCardProperty(std::string_view line);

/// The encoding of a property's value.
struct VCardEncoding {
    bool quotedPrintable = false;
    std::string charset; ///< empty if none is named
};

/// Reads the parameters ENCODING and CHARSET. Version 2.1 allows an encoding without the name
/// ENCODING.
VCardEncoding encodingOf(const VCardProperty& property);

} // namespace korvane
