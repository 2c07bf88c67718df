#pragma once

#include <map>
#include <optional>
#include <string>
#include <string_view>

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

} // namespace korvane
