#include "contacts/VCardProperty.h"

#include "contacts/VCardFolds.h"
#include "text/Ascii.h"

#include <algorithm>
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

/// The position of the first `sought` outside double quotes, or npos.
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

/// The colon between parameters and value: the first one outside double quotes. If there is none,
/// as when a quote is never closed, the first one of all.
std::size_t findColon(std::string_view line)
{
    const std::size_t first = line.find(':');
    if (first == std::string_view::npos
        || line.substr(0, first).find('"') == std::string_view::npos)
        return first;
    const std::size_t unquoted = findUnquoted(line, ':');
    return unquoted == std::string_view::npos ? first : unquoted;
}

std::string_view unquoted(std::string_view text)
{
    const bool quoted = text.size() >= 2 && text.front() == '"' && text.back() == '"';
    return quoted ? text.substr(1, text.size() - 2) : text;
}

struct Parameter {
    std::string_view name;
    std::string_view value;
};

/// Removes the first parameter from `rest`, which is empty after the last one. A parameter without
/// a name is returned as an ENCODING. It may also be a TYPE, which is not needed here.
Parameter takeParameter(std::string_view& rest)
{
    const std::size_t end = findUnquoted(rest, ';');
    const std::string_view text = rest.substr(0, end);
    rest.remove_prefix(std::min(text.size() + 1, rest.size()));
    const std::size_t equals = text.find('=');
    if (equals == std::string_view::npos)
        return {"ENCODING", withoutBlanks(text)};
    return {
        withoutBlanks(text.substr(0, equals)), unquoted(withoutBlanks(text.substr(equals + 1)))};
}

/// The end of a property name without folds and quotes, as nearly all are: the position of the
/// first colon, semicolon, quote or line break.
std::size_t plainNameEnd(std::string_view line)
{
    const auto end = std::find_if(line.begin(), line.end(), [](char each) {
        return each == ':' || each == ';' || each == '"' || each == '\r' || each == '\n';
    });
    return static_cast<std::size_t>(end - line.begin());
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
    // Concatenated files have byte-order marks in the middle.
    line = withoutByteOrderMark(line);
    const std::size_t plainEnd = plainNameEnd(line);
    if (plainEnd < line.size() && line[plainEnd] == ':') {
        return VCardProperty{
            .field = fieldNamed(withoutGroup(withoutBlanks(line.substr(0, plainEnd)))),
            .parameters = {},
            .value = line.substr(plainEnd + 1)};
    }
    const std::size_t colon = findColon(line);
    if (colon == std::string_view::npos)
        return std::nullopt;
    const std::string_view header = line.substr(0, colon);
    const std::size_t nameEnd = std::min(header.find(';'), header.size());
    std::string buffer;
    const std::string_view name = withoutBlanks(unfolded(header.substr(0, nameEnd), buffer));
    return VCardProperty{.field = fieldNamed(withoutGroup(name)),
        .parameters = header.substr(nameEnd),
        .value = line.substr(colon + 1)};
}

VCardEncoding encodingOf(const VCardProperty& property)
{
    VCardEncoding encoding;
    std::string buffer;
    std::string_view rest = unfolded(property.parameters, buffer);
    while (!rest.empty()) {
        const auto [name, value] = takeParameter(rest);
        if (equalIgnoringCase(name, "ENCODING") && equalIgnoringCase(value, "QUOTED-PRINTABLE"))
            encoding.quotedPrintable = true;
        else if (equalIgnoringCase(name, "CHARSET"))
            encoding.charset = value;
    }
    return encoding;
}

} // namespace korvane
