#pragma once

#include "messages/Sqlite.h"

#include <cstdint>
#include <memory_resource>
#include <optional>
#include <string_view>
#include <unordered_map>

namespace korvane {

/// Finds the row id of a message that another one of the same chat refers to by its guid.
/// The chat's guids are read from the statement when the first reference asks, for most runs
/// meet none. Used by one thread at a time.
class GuidMap {
public:
    /// `rows` yields (guid, row id) for every message of the chat; absent where the database has
    /// no guids.
    explicit GuidMap(std::optional<Sqlite::Statement> rows);

    /// The row id that `guid` means; it may carry one of the prefixes "p:N/" (part N of a
    /// message) and "bp:" (a balloon). Absent for no guid or one that is not in this chat.
    /// Throws DBError when reading the guids fails.
    std::optional<std::int64_t> target(std::optional<std::string_view> guid);

private:
    void load();
    std::optional<std::int64_t> find(std::string_view guid) const;

    std::optional<Sqlite::Statement> m_rows; ///< gone once read
    std::pmr::monotonic_buffer_resource m_memory; ///< holds the map and its keys
    std::pmr::unordered_map<std::string_view, std::int64_t> m_rowIDs{&m_memory};
};

} // namespace korvane
