#include "server/Http.h"

#include "text/Ascii.h"
#include "text/Utf8.h"

#include <algorithm>
#include <charconv>

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

constexpr std::size_t escapeSize = 3; // "%2F"

bool isUnreserved(char character)
{
    return (character >= 'A' && character <= 'Z') || (character >= 'a' && character <= 'z')
        || isDigit(character) || std::string_view("-._~").find(character) != std::string_view::npos;
}

/// Decodes the percent-escape at the start of `text`. Nothing if there is none.
std::optional<char> escapedByte(std::string_view text)
{
    if (text.size() < escapeSize || text.front() != '%')
        return std::nullopt;
    unsigned byte = 0;
    const char* end = text.data() + escapeSize;
    constexpr int hexadecimal = 16;
    const auto [stop, error] = std::from_chars(text.data() + 1, end, byte, hexadecimal);
    return stop == end ? std::optional(static_cast<char>(byte)) : std::nullopt;
}

/// True if `text` contains only unreserved characters, `delimiters` and complete percent-escapes
/// (RFC 3986, section 2).
bool consistsOf(std::string_view text, std::string_view delimiters)
{
    while (!text.empty()) {
        const bool plain
            = isUnreserved(text.front()) || delimiters.find(text.front()) != delimiters.npos;
        if (!plain && !escapedByte(text))
            return false;
        text.remove_prefix(plain ? 1 : escapeSize);
    }
    return true;
}

/// True if "h" + `text` is the authority of a URL (RFC 3986, section 3.2). `text` may continue the
/// host name, or add user information, another host and a port. Hosts in brackets are refused.
bool isAuthority(std::string_view text)
{
    const std::size_t user = text.find('@');
    const std::string_view host = user == text.npos ? text : text.substr(user + 1);
    const std::size_t colon = host.find(':');
    const std::string_view port = colon == host.npos ? "" : host.substr(colon + 1);
    return consistsOf(text.substr(0, text.size() - host.size()), "!$&'()*+,;=:@")
        && consistsOf(host.substr(0, colon), "!$&'()*+,;=")
        && std::all_of(port.begin(), port.end(), isDigit);
}

/// The components of "http://h" + target (RFC 3986, section 3), without "h", "?" and "#".
struct TargetComponents {
    explicit TargetComponents(std::string_view target)
    {
        const std::size_t hash = target.find('#');
        if (hash != target.npos)
            fragment = target.substr(hash + 1);
        target = target.substr(0, hash);
        const std::size_t mark = target.find('?');
        if (mark != target.npos)
            query = target.substr(mark + 1);
        target = target.substr(0, mark);
        const std::size_t slash = std::min(target.find('/'), target.size());
        authority = target.substr(0, slash);
        path = target.substr(slash);
    }

    bool isUrl() const
    {
        constexpr std::string_view inPath = "!$&'()*+,;=:@/";
        constexpr std::string_view inQuery = "!$&'()*+,;=:@/?";
        return isAuthority(authority) && consistsOf(path, inPath)
            && consistsOf(query.value_or(""), inQuery) && consistsOf(fragment, inQuery);
    }

    std::string_view authority;
    std::string_view path;
    std::optional<std::string_view> query;
    std::string_view fragment;
};

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

RequestTarget RequestTarget::fromText(std::string_view target)
{
    const TargetComponents components(target);
    if (!components.isUrl())
        return {.path = std::string(target)};
    RequestTarget whole{.path = std::string(components.path)};
    whole.query = components.query;
    return whole;
}

std::optional<std::string> RequestTarget::parameter(std::string_view name) const
{
    std::string_view rest = query ? std::string_view(*query) : std::string_view();
    while (!rest.empty()) {
        const std::string_view item = rest.substr(0, rest.find('&'));
        rest.remove_prefix(std::min(item.size() + 1, rest.size()));
        const std::size_t equals = std::min(item.find('='), item.size());
        if (percentDecoded(item.substr(0, equals)) != name)
            continue;
        return equals < item.size() ? percentDecoded(item.substr(equals + 1)) : std::nullopt;
    }
    return std::nullopt;
}

std::optional<std::string> percentDecoded(std::string_view text)
{
    std::string decoded;
    while (!text.empty()) {
        const bool escaped = text.front() == '%';
        const auto byte = escaped ? escapedByte(text) : std::optional(text.front());
        if (!byte)
            return std::nullopt;
        decoded += *byte;
        text.remove_prefix(escaped ? escapeSize : 1);
    }
    return isValidUtf8(decoded) ? std::optional(std::move(decoded)) : std::nullopt;
}

std::optional<std::int64_t> decimal(std::string_view text)
{
    if (text.starts_with('+') && text.size() > 1 && isDigit(text[1]))
        text.remove_prefix(1);
    std::int64_t number = 0;
    const char* end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, number);
    return error == std::errc() && stop == end ? std::optional(number) : std::nullopt;
}

std::string HttpResponse::head() const
{
    std::string text = "HTTP/1.1 " + std::to_string(status) + ' ' + reason + "\r\nContent-Length: "
        + std::to_string(body.size()) + "\r\nConnection: close\r\nCache-Control: no-store\r\n";
    for (const auto& [name, value] : headers)
        text.append(name).append(": ").append(value).append("\r\n");
    return text + "\r\n";
}

HttpResponse HttpResponse::ok(
    std::vector<std::pair<std::string, std::string>> headers, QByteArray body)
{
    return {200, "OK", std::move(headers), std::move(body)};
}

HttpResponse HttpResponse::unauthorized()
{
    return {401, "Unauthorized", {}, {}};
}

HttpResponse HttpResponse::notFound()
{
    return {404, "Not Found", {}, {}};
}

HttpResponse HttpResponse::methodNotAllowed()
{
    return {405, "Method Not Allowed", {}, {}};
}

HttpResponse HttpResponse::transferExpired()
{
    return {410, "Transfer Expired", {}, {}};
}

HttpResponse HttpResponse::rangeNotSatisfiable()
{
    return {416, "Range Not Satisfiable", {}, {}};
}

HttpResponse HttpResponse::serverError()
{
    return {500, "Server Error", {}, {}};
}

HttpResponse HttpResponse::transferFailed()
{
    return {500, "Transfer Failed", {}, {}};
}

} // namespace korvane
