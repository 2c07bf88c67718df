#include "server/HttpRequest.h"

#include "text/Ascii.h"
#include "text/Utf8.h"

namespace korvane {

namespace {

constexpr std::string_view lineEnd = "\r\n";

/// Removes the text up to and including the next `separator` from `rest`. Returns it without the
/// separator.
std::string_view takeUntil(std::string_view separator, std::string_view& rest)
{
    const std::size_t end = rest.find(separator);
    const std::string_view taken = rest.substr(0, end);
    rest.remove_prefix(end == rest.npos ? rest.size() : end + separator.size());
    return taken;
}

/// Removes and returns the next word of `rest`, which is separated by spaces; empty at the end.
std::string_view takeWord(std::string_view& rest)
{
    std::string_view word;
    while (word.empty() && !rest.empty())
        word = takeUntil(" ", rest);
    return word;
}

void addHeader(std::string_view line, std::map<std::string, std::string>& headers)
{
    const std::size_t colon = line.find(':');
    if (colon != line.npos)
        headers[lowered(line.substr(0, colon))] = trimmed(line.substr(colon + 1), " \t");
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
