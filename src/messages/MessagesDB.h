#pragma once

#include "messages/ChatInfo.h"
#include "messages/DBError.h"
#include "messages/MessageQuery.h"
#include "messages/MessageRow.h"
#include "messages/Sqlite.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace korvane {

/// The only reader of the Messages history database, one object per connection. Never writes to
/// it. Used by one thread at a time; a caller that needs a fresh view opens a new one.
class MessagesDB {
public:
    using RowVisitor = std::function<void(const MessageRowView&)>;

    /// Where the platform keeps the history of the user who runs this process.
    static const std::string& path();

    /// The two texts of a database that cannot be opened, or not be read; DatabaseFault knows more.
    static constexpr const char* cannotOpen = "Can't open the Messages database.";
    static constexpr const char* cannotRead
        = "Messages database is locked by macOS privacy settings.";

    /// The statement that shows whether the database can be read.
    static constexpr const char* firstRead = "SELECT 1 FROM message LIMIT 1";

    /// Opens the database and reads one row of it: a file that privacy protection hides opens
    /// like any other and fails on the first read. Throws DBError with one of the two texts above,
    /// at once where opening the file would block.
    explicit MessagesDB(const std::string& path = MessagesDB::path());

    /// All chats that have a message, the one with the newest message first. Throws DBError.
    std::vector<ChatInfo> chats();

    /// The messages of a chat with a row id over `afterRowID`, ordered by date and then by row
    /// id; 0 reads them all. Throws DBError, and then returns nothing of what it read.
    std::vector<MessageRow> messages(std::int64_t chatID, std::int64_t afterRowID);

    /// The same rows, handed to `visit` one by one without copying their texts: a view lives
    /// until `visit` returns. May throw DBError after some rows were visited.
    void forEachMessage(std::int64_t chatID, std::int64_t afterRowID, const RowVisitor& visit);

    /// The plain text inside an archived attributed string, as a view into `bytes`, found by a
    /// fixed byte pattern (see AttributedBody.cpp). Nothing where the pattern is not met.
    static std::optional<std::string_view> decodeAttributedBody(std::string_view bytes);

private:
    void learnColumns(ColumnSet& columns, const std::string& table);

    Sqlite m_db;
    MessageColumns m_columns; ///< of the tables that have been read so far
};

} // namespace korvane
