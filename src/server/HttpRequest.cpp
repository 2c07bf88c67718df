#include "server/HttpRequest.h"

#include "contacts/Ascii.h"
#include "messages/Utf8.h"

#include <algorithm>

namespace korvane {

namespace {

constexpr std::string_view lineEnd = "\r\n";

/// Takes the text before the next `separator`, and the separator, from the front of `rest`.
std::string_view takeUntil(std::string_view separator, std::string_view& rest)
{
    const std::size_t end = rest.find(separator);
    const std::string_view taken = rest.substr(0, end);
    rest.remove_prefix(end == rest.npos ? rest.size() : end + separator.size());
    return taken;
}

/// The next piece between blanks that is not empty; empty at the end.
std::string_view takeWord(std::string_view& rest)
{
    std::string_view word;
    while (word.empty() && !rest.empty())
        word = takeUntil(" ", rest);
    return word;
}

std::string loweredName(std::string_view name)
{
    std::string lower(name);
    std::transform(
        lower.begin(), lower.end(), lower.begin(), [](char letter) { return lowered(letter); });
    return lower;
}

std::string_view trimmedValue(std::string_view value)
{
    constexpr std::string_view blanks = " \t";
    const std::size_t first = value.find_first_not_of(blanks);
    if (first == value.npos)
        return {};
    return value.substr(first, value.find_last_not_of(blanks) + 1 - first);
}

void addHeader(std::string_view line, std::map<std::string, std::string>& headers)
{
    const std::size_t colon = line.find(':');
    if (colon != line.npos)
        headers[loweredName(line.substr(0, colon))] = trimmedValue(line.substr(colon + 1));
}

} // namespace

std::optional<HttpRequest> HttpRequest::fromHead(std::string_view head)
{
    const std::string text = repairedUtf8(head);
    std::string_view lines = text;
    std::string_view requestLine = takeUntil(lineEnd, lines);
    const std::string_view method = takeWord(requestLine);
    const std::string_view target = takeWord(requestLine);
    if (method != "GET" || target.empty())
        return std::nullopt;
    HttpRequest request{.target = std::string(target)};
    while (!lines.empty())
        addHeader(takeUntil(lineEnd, lines), request.headers);
    return request;
}

} // namespace korvane
