#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace korvane {

/// Seconds since the reference date of Messages, 2001-01-01 00:00:00 UTC. A double, as on the
/// platform itself; its resolution for present dates is about 0.1 microseconds.
using ReferenceTime = std::chrono::duration<double>;

/// Seconds from the Unix epoch to the reference date.
inline constexpr std::int64_t referenceDateUnixSeconds = 978'307'200;

/// Converts a stored date. An absolute value above 100000000000 counts nanoseconds, any other
/// counts seconds, as older systems stored them. Throws std::overflow_error for the most negative
/// 64-bit value, which has no absolute value. That error fails the whole run, not just one chat,
/// and ends the terminal program.
ReferenceTime referenceTime(std::int64_t stored);

/// One chat of the Messages database. `guid` is its stable key. `id` is the row id, which is valid
/// only within the current database file.
struct ChatInfo {
    std::int64_t id = 0;
    std::string guid;
    std::string displayName; ///< the user's own name for the group; "" if none
    std::string identifier; ///< phone number, e-mail address, or the system's name for a group
    bool isGroup = false;
    std::optional<ReferenceTime> lastDate; ///< date of the newest message
    std::int64_t messageCount = 0;
    std::vector<std::string> members; ///< handles as stored, not normalised

    bool operator==(const ChatInfo&) const = default;
};

/// One message. With `Text` = std::string the row owns its texts. With std::string_view it refers
/// to the reader's memory and is valid until the reader moves to the next row.
template <typename Text>
struct BasicMessageRow {
    std::int64_t rowID = 0;
    ReferenceTime date{};
    bool fromMe = false;
    std::optional<Text> handle; ///< the other party's phone number or address, as stored
    Text text{}; ///< valid UTF-8, possibly empty
    int attachmentCount = 0; ///< a flag, not a count: 1 if the message claims attachments
    std::optional<Text> senderID; ///< "messages:self", or "messages:handle:" + the handle
    std::optional<int> photoCount; ///< absent if unknown
    std::optional<std::string_view> recordKind; ///< a literal: "message", "reaction", …
    std::optional<std::string_view> reactionKind; ///< a literal: "love", "like", …
    std::optional<std::int64_t> reactionTargetRowID; ///< reactions only; in the same chat
    std::optional<std::int64_t> replyToRowID; ///< other records only; in the same chat

    bool operator==(const BasicMessageRow&) const = default;
};

using MessageRow = BasicMessageRow<std::string>;
using MessageRowView = BasicMessageRow<std::string_view>;

} // namespace korvane

/// Combines all fields in declaration order. Required by the interface; only tests use it.
template <>
struct std::hash<korvane::ChatInfo> {
    std::size_t operator()(const korvane::ChatInfo& chat) const noexcept;
};
