#pragma once

#include <QByteArray>

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

/// The messages of HTTP/1.1 (RFC 9112): the heads of requests, their targets, and responses.
namespace korvane {

/// The parts of an HTTP/1.1 request head (RFC 9112) that this server uses. A plain value.
struct HttpRequest {
    std::string target; ///< as sent: with percent-escapes and query
    std::map<std::string, std::string> headers; ///< by lower-case name; the last of a name wins

    bool operator==(const HttpRequest&) const = default;

    /// `head` is everything before the first blank line. Invalid UTF-8 is read as U+FFFD. Returns
    /// nothing unless the method is GET and there is a target.
    static std::optional<HttpRequest> fromHead(std::string_view head);
};

/// A request target, parsed as what follows "http://h" in a URL (RFC 3986). If the two together are
/// not a valid URL, all of the target is the path. A plain value.
struct RequestTarget {
    std::string path; ///< percent-escapes not decoded
    std::optional<std::string> query; ///< what follows "?", not decoded; absent if there is no "?"

    bool operator==(const RequestTarget&) const = default;

    static RequestTarget fromText(std::string_view target);

    /// The decoded value of the query's first parameter named `name`. Nothing if there is none, or
    /// if it has no "=", a malformed escape, or a value that is not valid UTF-8.
    std::optional<std::string> parameter(std::string_view name) const;
};

/// Decodes the percent-escapes of `text`. Nothing if one is malformed or the result is not valid
/// UTF-8.
std::optional<std::string> percentDecoded(std::string_view text);

/// Parses all of `text` as a decimal integer: ASCII digits, optionally after a sign. Nothing if it
/// is not one or does not fit into 64 bits.
std::optional<std::int64_t> decimal(std::string_view text);

/// An HTTP response, after which the connection is closed. A plain value.
struct HttpResponse {
    int status = 0;
    std::string reason;
    std::vector<std::pair<std::string, std::string>> headers; ///< besides those of every response
    QByteArray body;

    bool operator==(const HttpResponse&) const = default;

    /// Everything before the body, including the blank line.
    std::string head() const;

    static HttpResponse ok(
        std::vector<std::pair<std::string, std::string>> headers, QByteArray body);
    static HttpResponse unauthorized();
    static HttpResponse notFound();
    static HttpResponse methodNotAllowed();
    static HttpResponse transferExpired();
    static HttpResponse rangeNotSatisfiable();
    static HttpResponse serverError();
    static HttpResponse transferFailed();
};

} // namespace korvane
