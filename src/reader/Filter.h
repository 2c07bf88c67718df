#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace korvane {

class Conversation;

/// A span of time in milliseconds since 1970-01-01 UTC.
struct TimeSpan {
    std::int64_t begin = 0;
    std::int64_t end = 0; ///< the first millisecond after it

    bool operator==(const TimeSpan&) const = default;
};

/// What a date means in local time: "2024", "2024-05", "2024-05-06", "2024-05-06T07",
/// "2024-05-06T07:08", "2024-05-06T07:08:09" or with milliseconds "2024-05-06T07:08:09.500"; a time
/// may also follow a blank instead of the "T", and be followed by "Z" or an offset such as
/// "+02:00". Nothing for any other text and for days that do not exist.
std::optional<TimeSpan> timeSpan(std::string_view text);

/// Which records of a conversation are wanted. A plain value; by default, all of them.
struct Filter {
    std::optional<std::int64_t> since{}; ///< milliseconds since 1970-01-01 UTC, inclusive
    std::optional<std::int64_t> before{}; ///< the same, exclusive
    /// Part of the sender's name, or the handle, compared by folded(); "me" is the user alone.
    std::string from{};
    std::string search{}; ///< part of the body, compared by folded()

    bool operator==(const Filter&) const = default;
};

/// Indexes of records in Conversation::messages(), ascending.
using Selection = std::vector<std::uint32_t>;

/// The records that match. Each record is judged on its own: a reaction can be chosen without its
/// message, and a message without its reactions.
Selection chosenMessages(const Conversation& conversation, const Filter& filter);

} // namespace korvane
