#include "contacts/VCardProperty.h"

#include "contacts/Ascii.h"
#include "contacts/VCardFolds.h"

#include <utility>

namespace korvane {

namespace {

VCardField fieldNamed(std::string_view name)
{
    static constexpr std::pair<std::string_view, VCardField> fields[] = {
        {"BEGIN", VCardField::Begin},
        {"END", VCardField::End},
        {"VERSION", VCardField::Version},
        {"AGENT", VCardField::Agent},
        {"KIND", VCardField::Kind},
        {"X-ADDRESSBOOKSERVER-KIND", VCardField::Kind},
        {"X-EVOLUTION-LIST", VCardField::EvolutionList},
        {"N", VCardField::Name},
        {"FN", VCardField::FormattedName},
        {"ORG", VCardField::Organization},
        {"TEL", VCardField::Phone},
        {"EMAIL", VCardField::Email},
    };
    for (const auto& [known, field] : fields) {
        if (equalIgnoringCase(name, known))
            return field;
    }
    return VCardField::Other;
}

/// Finds `sought` outside of double quotes.
std::size_t findUnquoted(std::string_view text, char sought)
{
    bool quoted = false;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '"')
            quoted = !quoted;
        else if (text[i] == sought && !quoted)
            return i;
    }
    return std::string_view::npos;
}

/// The colon between parameters and value: the first one outside of quotes or, where a quote is
/// never closed, the first one.
std::size_t findColon(std::string_view line)
{
    const std::size_t first = line.find(':');
    if (first == std::string_view::npos)
        return first;
    const std::size_t unquoted = findUnquoted(line, ':');
    return unquoted == std::string_view::npos ? first : unquoted;
}

/// Cuts the next part off `rest`, which is left empty after the last.
std::string_view takePart(std::string_view& rest)
{
    const std::size_t end = findUnquoted(rest, ';');
    const std::string_view part = rest.substr(0, end);
    rest.remove_prefix(end == std::string_view::npos ? rest.size() : end + 1);
    return trimmed(part);
}

std::string_view unquoted(std::string_view text)
{
    const bool quoted = text.size() >= 2 && text.front() == '"' && text.back() == '"';
    return quoted ? text.substr(1, text.size() - 2) : text;
}

/// Version 2.1 lets a parameter go without its name: `;QUOTED-PRINTABLE`.
void applyParameter(std::string_view parameter, VCardProperty& property)
{
    const std::size_t equals = parameter.find('=');
    const bool bare = equals == std::string_view::npos;
    const std::string_view name = bare ? "ENCODING" : trimmed(parameter.substr(0, equals));
    const std::string_view value
        = bare ? parameter : unquoted(trimmed(parameter.substr(equals + 1)));
    if (equalIgnoringCase(name, "ENCODING") && equalIgnoringCase(value, "QUOTED-PRINTABLE"))
        property.quotedPrintable = true;
    else if (equalIgnoringCase(name, "CHARSET"))
        property.charset = value;
}

std::string_view withoutByteOrderMark(std::string_view line)
{
    constexpr std::string_view mark = "\xEF\xBB\xBF";
    return line.starts_with(mark) ? line.substr(mark.size()) : line;
}

std::string_view withoutGroup(std::string_view name)
{
    return name.substr(name.rfind('.') + 1);
}

} // namespace

std::optional<VCardProperty> parseVCardProperty(std::string_view line)
{
    const std::size_t colon = findColon(line);
    if (colon == std::string_view::npos)
        return std::nullopt;
    std::string buffer;
    // Files put one behind the other leave byte-order marks in the middle.
    std::string_view rest = withoutByteOrderMark(unfolded(line.substr(0, colon), buffer));
    VCardProperty property;
    property.field = fieldNamed(withoutGroup(takePart(rest)));
    property.value = line.substr(colon + 1);
    while (!rest.empty())
        applyParameter(takePart(rest), property);
    return property;
}

} // namespace korvane
