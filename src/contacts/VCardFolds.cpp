#include "contacts/VCardFolds.h"

#include <algorithm>

namespace korvane {

namespace {

bool isLineBreak(char character)
{
    return character == '\r' || character == '\n';
}

bool isFoldMark(char character)
{
    return character == ' ' || character == '\t';
}

/// Removes the first line and its line break from `rest`. Returns the line without the break.
std::string_view takeLine(std::string_view& rest)
{
    const auto end = std::find_if(rest.begin(), rest.end(), isLineBreak);
    const std::string_view line(rest.data(), static_cast<std::size_t>(end - rest.begin()));
    rest.remove_prefix(pastLineBreak(rest, line.size()));
    return line;
}

std::string_view withoutFoldMark(std::string_view line)
{
    return startsWithFoldMark(line) ? line.substr(1) : line;
}

} // namespace

std::size_t pastLineBreak(std::string_view text, std::size_t position)
{
    while (position < text.size() && text[position] == '\r')
        ++position;
    if (position < text.size() && text[position] == '\n')
        ++position;
    return position;
}

bool startsWithFoldMark(std::string_view line)
{
    return !line.empty() && isFoldMark(line.front());
}

bool endsInSoftBreak(std::string_view line)
{
    while (!line.empty() && isFoldMark(line.back()))
        line.remove_suffix(1);
    return line.ends_with('=');
}

std::string_view unfolded(std::string_view line, std::string& buffer)
{
    if (line.find('\n') == std::string_view::npos && line.find('\r') == std::string_view::npos)
        return line;
    buffer = takeLine(line);
    while (!line.empty())
        buffer += withoutFoldMark(takeLine(line));
    return buffer;
}

std::string unfoldedQuotedPrintable(std::string_view value)
{
    std::string text;
    bool softBreak = true;
    while (!value.empty()) {
        const std::string_view line = takeLine(value);
        text += softBreak ? line : withoutFoldMark(line);
        softBreak = endsInSoftBreak(line);
        if (softBreak)
            text.erase(text.rfind('='));
    }
    return text;
}

} // namespace korvane
