#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace korvane {

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

} // namespace korvane
