#pragma once

#include "messages/Timestamp.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace korvane {

/// One chat of the Messages database. `guid` is its stable key; `id` is the row id and holds for
/// the current database file only.
struct ChatInfo {
    std::int64_t id = 0;
    std::string guid;
    std::string displayName; ///< what the user called the group; "" without
    std::string identifier; ///< phone number, e-mail address or the system's name of a group
    bool isGroup = false;
    std::optional<ReferenceTime> lastDate; ///< date of the newest message
    std::int64_t messageCount = 0;
    std::vector<std::string> members; ///< handles, as the database holds them

    bool operator==(const ChatInfo&) const = default;
};

} // namespace korvane

/// Over all fields, in their order.
template <>
struct std::hash<korvane::ChatInfo> {
    std::size_t operator()(const korvane::ChatInfo& chat) const noexcept;
};
