#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace korvane {

/// The properties of a card that count here; every other one is Other.
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

/// One property of a card, `[group.]name[;parameter…]:value`. Its views are of the line as it is
/// written, folds included.
struct VCardProperty {
    VCardField field = VCardField::Other;
    std::string_view parameters;
    std::string_view value;
};

/// Reads a line as VCardLines gives it; absent when it has no colon, as lines of base64 have none.
/// Names count in any case and group.
std::optional<VCardProperty> parseVCardProperty(std::string_view line);

/// How the bytes of a value are to be read.
struct VCardEncoding {
    bool quotedPrintable = false;
    std::string charset; ///< Empty where none is named.
};

/// What the parameters ENCODING and CHARSET say. Version 2.1 may leave out the name of ENCODING.
VCardEncoding encodingOf(const VCardProperty& property);

} // namespace korvane
