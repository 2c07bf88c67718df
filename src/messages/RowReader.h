#pragma once

#include "messages/MessageTypes.h"
#include "messages/Sqlite.h"

#include <cstdint>
#include <memory_resource>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>

namespace korvane {

/// Resolves references between messages of one chat: from guid to row id. Asks the database for
/// each guid if that has an index on them. Otherwise, loads all guids of the chat on the first
/// lookup, because most runs have no reference to resolve. Used by one thread at a time.
class GuidMap {
public:
    /// Finds nothing: for a message table without guids.
    GuidMap() = default;

    /// `db` must outlive this object. `isIndexed` says whether there is an index on the guids.
    GuidMap(Sqlite& db, std::int64_t chatID, bool isIndexed);

    /// The row id of the message with this guid. The guid may have the prefix "p:N/" (part N of a
    /// message) or "bp:" (a balloon). Absent if `guid` is absent, empty or not in this chat.
    /// Throws DBError if reading the guids fails.
    std::optional<std::int64_t> target(std::optional<std::string_view> guid);

private:
    void load();
    std::optional<std::int64_t> find(std::string_view guid) const;
    bool mayUseIndex(std::string_view guid);
    void prepareLookup();
    std::optional<std::int64_t> findByIndex(std::string_view guid);

    Sqlite* m_db = nullptr; ///< null if there are no guids
    std::int64_t m_chatID = 0;
    bool m_isIndexed = false;
    bool m_isLoaded = false;
    std::optional<Sqlite::Statement> m_oneRow; ///< prepared on the first lookup
    std::pmr::monotonic_buffer_resource m_memory; ///< owns the map's nodes and keys
    std::pmr::unordered_map<std::string_view, std::int64_t> m_rowIDs{&m_memory};
};

/// Turns the current row of a message query into a MessageRowView. The row's views point into
/// SQLite's memory or into this object and are valid until the statement steps or read() is called
/// again. Used by one thread at a time.
class RowReader {
public:
    /// `row` and `guids` must outlive this object. `hasAssociatedType` says whether the message
    /// table has the column associated_message_type. Without it, reactions look like messages, so
    /// rows have no record kind.
    RowReader(const Sqlite::Statement& row, GuidMap& guids, bool hasAssociatedType);

    /// Reads the current row. Throws DBError, and std::overflow_error (see referenceTime()).
    const MessageRowView& read();

private:
    std::string_view text();
    std::string_view decodedBody() const;
    void readSender();
    void readReaction(int associatedType);
    void readOrdinary();

    const Sqlite::Statement& m_row;
    GuidMap& m_guids;
    const bool m_hasAssociatedType;
    MessageRowView m_view;
    std::string m_ownText;
    std::string m_ownHandle;
    std::string m_senderID;
};

} // namespace korvane
