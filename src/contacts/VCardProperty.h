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

/// One property of a card, `[group.]name[;parameter…]:value`, its value still as written.
struct VCardProperty {
    VCardField field = VCardField::Other;
    bool quotedPrintable = false;
    std::string charset; ///< As the CHARSET parameter names it, empty without one.
    std::string_view value; ///< A view of the line, folds and encoding included.
};

/// Reads a line as VCardLines gives it; absent when it has no colon, as lines of base64 have none.
/// Names count in any case, groups and all parameters but ENCODING and CHARSET not at all.
std::optional<VCardProperty> parseVCardProperty(std::string_view line);

} // namespace korvane
