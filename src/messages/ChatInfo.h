#pragma once

#include "messages/Timestamp.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace korvane {

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

} // namespace korvane

/// Combines all fields in declaration order. Required by the interface; only tests use it.
template <>
struct std::hash<korvane::ChatInfo> {
    std::size_t operator()(const korvane::ChatInfo& chat) const noexcept;
};
