#pragma once

#include "messages/Sqlite.h"
#include "reader/Conversation.h"
#include "reader/ConversationWriter.h"
#include "storage/Draft.h"

#include <cstdint>
#include <filesystem>
#include <optional>
#include <vector>

namespace korvane {

/// Writes conversations as tables of a new SQLite database, which docs/sqlite.md describes. The
/// database has a temporary name beside its own, and mode 0600, until finish() has completed it.
/// Without finish(), the destructor removes it.
class SqliteWriter : public ConversationWriter {
public:
    /// Throws std::runtime_error with a text for the user if `file` may not be written. With
    /// Existing::Replace, a file that exists is replaced if it is empty or a database that this
    /// class wrote, and never if it is another file, which the user may have named by mistake.
    SqliteWriter(std::filesystem::path file, Files::Existing existing);

    void write(const Conversation& conversation, const Selection& chosen) override;

    /// Creates the indexes, and gives the database its name. Takes nearly half of the whole time.
    void finish() override;

private:
    using Keys = std::vector<std::optional<std::int64_t>>;

    void addChat(const ArchivedChat& chat);
    Keys newMessageKeys(const Conversation& conversation, const Selection& chosen);
    void addMessage(std::int64_t key, const Record& record, std::optional<std::int64_t> replyTo);
    void addReaction(const Record& record, std::optional<std::int64_t> target);

    const std::filesystem::path m_file;
    const Files::Existing m_existing;
    Draft m_draft;
    std::optional<Sqlite> m_database; ///< closed by finish()
    std::optional<Sqlite::Statement> m_insertChat;
    std::optional<Sqlite::Statement> m_insertMessage;
    std::optional<Sqlite::Statement> m_insertReaction;
    std::int64_t m_lastChat = 0; ///< the highest key in each table so far
    std::int64_t m_lastMessage = 0;
    std::int64_t m_lastReaction = 0;
};

} // namespace korvane
