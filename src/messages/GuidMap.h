#pragma once

#include "messages/Sqlite.h"

#include <cstdint>
#include <memory_resource>
#include <optional>
#include <string_view>
#include <unordered_map>

namespace korvane {

/// Resolves references between messages of one chat: from guid to row id. Loads the chat's guids
/// on the first lookup, because most runs have no reference to resolve. Used by one thread at a
/// time.
class GuidMap {
public:
    /// `rows` yields (guid, row id) for every message of the chat. Absent if the message table has
    /// no guid column.
    explicit GuidMap(std::optional<Sqlite::Statement> rows);

    /// The row id of the message with this guid. The guid may have the prefix "p:N/" (part N of a
    /// message) or "bp:" (a balloon). Absent if `guid` is absent, empty or not in this chat.
    /// Throws DBError if reading the guids fails.
    std::optional<std::int64_t> target(std::optional<std::string_view> guid);

private:
    void load();
    std::optional<std::int64_t> find(std::string_view guid) const;

    std::optional<Sqlite::Statement> m_rows; ///< reset after loading
    std::pmr::monotonic_buffer_resource m_memory; ///< owns the map's nodes and keys
    std::pmr::unordered_map<std::string_view, std::int64_t> m_rowIDs{&m_memory};
};

} // namespace korvane
