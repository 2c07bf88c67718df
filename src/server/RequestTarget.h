#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace korvane {

/// A request target taken apart as the rest of a URL, "http://h" in front of it (RFC 3986). A
/// target with which that is no URL is all path. A plain value.
struct RequestTarget {
    std::string path; ///< percent-escapes as sent
    std::optional<std::string> query; ///< what follows "?"; absent without

    bool operator==(const RequestTarget&) const = default;

    static RequestTarget fromText(std::string_view target);

    /// The value, unescaped, of the first parameter of the query named `name`; nothing where there
    /// is none, or it has no "=" or no value in UTF-8.
    std::optional<std::string> parameter(std::string_view name) const;
};

/// `text` with its percent-escapes resolved; nothing where one is malformed or the outcome is no
/// UTF-8.
std::optional<std::string> percentDecoded(std::string_view text);

/// A signed decimal number, as a whole: ASCII digits, perhaps after a sign. Nothing where it is
/// none or does not fit.
std::optional<std::int64_t> decimal(std::string_view text);

} // namespace korvane
