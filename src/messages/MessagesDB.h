#pragma once

#include "messages/MessageTypes.h"
#include "messages/Sqlite.h"

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace korvane {

class MessageLookup;
struct MessageColumns;

/// The only reader of the Messages database. Never writes to it. Each object holds one connection
/// and is used by one thread at a time. Open a new object for each run: this one caches the
/// database's columns.
class MessagesDB {
public:
    using RowVisitor = std::function<void(const MessageRowView&)>;

    /// The path of the Messages database of the user who runs this process.
    static const std::string& path();

    /// The messages of the DBError for a database that cannot be opened or cannot be read.
    /// findDatabaseFault() gives the reason.
    static constexpr const char* cannotOpen = "Can't open the Messages database.";
    static constexpr const char* cannotRead
        = "Messages database is locked by macOS privacy settings.";

    /// Opens the database and reads one row: a file hidden by macOS privacy protection can be
    /// opened but fails on the first read. Throws DBError with one of the two texts above. Does not
    /// block on a named pipe but throws at once.
    explicit MessagesDB(const std::string& path = MessagesDB::path());
    ~MessagesDB();

    /// The absolute path of the file that was opened, without symbolic links.
    std::string file() const { return m_db.file(); }

    /// Whether file() is no longer the file that is open: another one was put in its place.
    bool hasMoved() const { return m_db.hasMoved(); }

    /// Lets every read fail with a DBError soon after another thread sets `flag`, until the next
    /// call. `flag` must outlive this object or the next call.
    void interruptWhen(const std::atomic<bool>& flag) { m_db.interruptWhen(flag); }

    /// All chats that have messages, the one with the newest message first. Throws DBError, and
    /// std::overflow_error for a date out of range (see referenceTime()).
    std::vector<ChatInfo> chats();

    /// The messages of a chat with a row id greater than `afterRowID`, ordered by date, then by row
    /// id; 0 reads all of them. Throws as chats() does. Required by the interface; only tests call
    /// it.
    std::vector<MessageRow> messages(std::int64_t chatID, std::int64_t afterRowID);

    /// Passes the same rows to `visit` one by one without copying their texts: a view is valid
    /// until `visit` returns. Throws as chats() does, possibly after some rows were visited.
    void forEachMessage(std::int64_t chatID, std::int64_t afterRowID, const RowVisitor& visit);

    /// Begins looking up single messages. The result must not outlive this object.
    MessageLookup lookup();

    /// How many messages belong to no chat, so that no export has them. Throws DBError.
    std::int64_t unfiledMessages();

    /// The same as textOfAttributedBody(). Required by the interface; only tests call it.
    static std::optional<std::string_view> decodeAttributedBody(std::string_view bytes);

private:
    Sqlite m_db;
    std::unique_ptr<MessageColumns> m_columns; ///< filled by learnColumns(), table by table
};

} // namespace korvane
