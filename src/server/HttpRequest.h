#pragma once

#include <map>
#include <optional>
#include <string>
#include <string_view>

namespace korvane {

/// The head of an HTTP/1.1 request (RFC 9112), as far as this server looks at it. A plain value.
struct HttpRequest {
    std::string target; ///< as sent: percent-escapes and query included
    std::map<std::string, std::string> headers; ///< by name in lower case; the last one counts

    bool operator==(const HttpRequest&) const = default;

    /// `head` is what stands before the first blank line; bytes that are no UTF-8 count as U+FFFD.
    /// Nothing where its first line does not ask to GET some target.
    static std::optional<HttpRequest> fromHead(std::string_view head);
};

} // namespace korvane
