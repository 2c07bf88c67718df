#include "contacts/VCardFolds.h"

#include <algorithm>

namespace korvane {

namespace {

bool isLineBreak(char character)
{
    return character == '\r' || character == '\n';
}

/// Cuts the first line off `rest`, break included.
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
    return !line.empty() && (line.front() == ' ' || line.front() == '\t');
}

bool endsInSoftBreak(std::string_view line)
{
    const std::size_t last = line.find_last_not_of(" \t");
    return last != std::string_view::npos && line[last] == '=';
}

std::string_view unfolded(std::string_view line, std::string& buffer)
{
    std::string_view rest = line;
    const std::string_view first = takeLine(rest);
    if (rest.empty())
        return first;
    buffer = first;
    while (!rest.empty())
        buffer += withoutFoldMark(takeLine(rest));
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
