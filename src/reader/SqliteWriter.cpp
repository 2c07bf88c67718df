#include "reader/SqliteWriter.h"

#include "reader/TargetFile.h"

#include <array>
#include <fstream>
#include <string>
#include <string_view>
#include <utility>

namespace korvane {

namespace fs = std::filesystem;

namespace {

/// "Korv", at this place in the header of a database: PRAGMA application_id. It tells which files
/// may be replaced.
constexpr std::string_view applicationID = "Korv";
constexpr std::size_t applicationIDOffset = 68;

/// No journal and no sync: after a failure the new file is removed, so a rollback is never needed.
/// SQLite does not check foreign keys unless it is told to; they are right by construction.
constexpr const char* pragmas = "PRAGMA application_id = 0x4B6F7276;"
                                "PRAGMA user_version = 1;"
                                "PRAGMA journal_mode = OFF;"
                                "PRAGMA synchronous = OFF;"
                                "PRAGMA locking_mode = EXCLUSIVE;"
                                "PRAGMA cache_size = -65536;";

/// docs/sqlite.md shows these statements as they are here.
constexpr const char* tables = R"(CREATE TABLE chat (
    chatKey INTEGER PRIMARY KEY,
    conversationID TEXT NOT NULL,
    conversationName TEXT NOT NULL
);
CREATE TABLE message (
    messageKey INTEGER PRIMARY KEY,
    chatKey INTEGER NOT NULL REFERENCES chat (chatKey),
    id TEXT NOT NULL,
    date TEXT NOT NULL,
    isOutgoing INTEGER NOT NULL,
    sender TEXT NOT NULL,
    senderID TEXT,
    recordKind TEXT,
    body TEXT NOT NULL,
    textUnavailable INTEGER NOT NULL,
    attachmentCount INTEGER NOT NULL,
    photoCount INTEGER,
    replyToID TEXT,
    replyToKey INTEGER REFERENCES message (messageKey)
);
CREATE TABLE reaction (
    reactionKey INTEGER PRIMARY KEY,
    chatKey INTEGER NOT NULL REFERENCES chat (chatKey),
    id TEXT NOT NULL,
    date TEXT NOT NULL,
    isOutgoing INTEGER NOT NULL,
    sender TEXT NOT NULL,
    senderID TEXT,
    recordKind TEXT,
    body TEXT NOT NULL,
    textUnavailable INTEGER NOT NULL,
    attachmentCount INTEGER NOT NULL,
    photoCount INTEGER,
    reactionKind TEXT,
    reactionTargetID TEXT,
    reactionTargetKey INTEGER REFERENCES message (messageKey)
);
CREATE VIRTUAL TABLE message_fts USING fts5(
    body, content="message", content_rowid="messageKey", tokenize="unicode61 remove_diacritics 2"
);
)";

/// Building an index over a complete table is much faster than updating it with every row.
constexpr const char* indexes = R"(CREATE INDEX message_id ON message (id);
CREATE INDEX message_date ON message (date);
CREATE INDEX message_chat ON message (chatKey, date);
CREATE INDEX message_reply ON message (replyToKey) WHERE replyToKey IS NOT NULL;
CREATE INDEX reaction_id ON reaction (id);
CREATE INDEX reaction_chat ON reaction (chatKey, date);
CREATE INDEX reaction_target ON reaction (reactionTargetKey);
INSERT INTO message_fts (message_fts) VALUES ('rebuild');
)";

constexpr const char* insertChat = "INSERT INTO chat VALUES (?, ?, ?)";
constexpr const char* insertMessage
    = "INSERT INTO message VALUES (?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?)";
constexpr const char* insertReaction
    = "INSERT INTO reaction VALUES (?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?)";

/// One row to insert. Takes its values in the order of the columns. Texts are not copied.
class Row {
public:
    explicit Row(Sqlite::Statement& insertion) : m_insertion(insertion) { }

    Row& integer(std::optional<std::int64_t> number)
    {
        number ? m_insertion.bind(++m_column, *number) : m_insertion.bindNull(++m_column);
        return *this;
    }
    Row& text(std::string_view text)
    {
        m_insertion.bindText(++m_column, text);
        return *this;
    }
    Row& optionalText(const std::optional<std::string>& value)
    {
        value ? m_insertion.bindText(++m_column, *value) : m_insertion.bindNull(++m_column);
        return *this;
    }

    void insert()
    {
        m_insertion.step();
        m_insertion.reset();
    }

private:
    Sqlite::Statement& m_insertion;
    int m_column = 0;
};

/// The columns that messages and reactions have in common.
Row rowOf(
    const Record& record, std::int64_t key, std::int64_t chatKey, Sqlite::Statement& insertion)
{
    Row row(insertion);
    row.integer(key)
        .integer(chatKey)
        .text(record.id)
        .text(record.date)
        .integer(record.isOutgoing ? 1 : 0)
        .text(record.sender)
        .optionalText(record.senderID)
        .optionalText(record.recordKind)
        .text(record.body)
        .integer(record.textUnavailable ? 1 : 0)
        .integer(record.attachmentCount)
        .integer(record.photoCount);
    return row;
}

/// Like TargetFile::concerning(), also for errors of SQLite.
template <typename Action>
decltype(auto) concerning(const fs::path& file, Action action)
try {
    return TargetFile::concerning(file, action);
} catch (const DBError& error) {
    TargetFile::refuse(file, error.message);
}

/// Whether the regular file is empty, or a database that SqliteWriter wrote. Does not let SQLite
/// open it: that can change files beside it.
bool isReplaceable(const fs::path& file)
{
    std::array<char, applicationIDOffset + applicationID.size()> header{};
    std::ifstream input(file, std::ios::binary);
    if (!input)
        return false;
    input.read(header.data(), header.size());
    const std::string_view read(header.data(), static_cast<std::size_t>(input.gcount()));
    return read.empty() || (read.starts_with("SQLite format 3") && read.ends_with(applicationID));
}

/// SQLite would take the journal of an earlier database for that of the new one.
void checkJournals(const fs::path& file)
{
    for (const char* suffix : {"-wal", "-journal"}) {
        const fs::path journal = file.string() + suffix;
        if (fs::exists(fs::symlink_status(journal))) {
            TargetFile::refuse(journal,
                "This belongs to a database that another program has open or did not complete. "
                "Close that program, or name another file.");
        }
    }
}

/// The path, if it may be written.
fs::path checked(fs::path file, Files::Existing existing)
{
    concerning(file, [&] {
        checkJournals(file);
        TargetFile::check(file, existing, isReplaceable, "a database that \"read --sqlite\" wrote");
    });
    return file;
}

} // namespace

SqliteWriter::SqliteWriter(fs::path file, Files::Existing existing)
    : m_file(checked(std::move(file), existing))
    , m_existing(existing)
    , m_draft(concerning(m_file, [this] { return Draft(m_file); }))
{
    concerning(m_file, [this] {
        m_database = Sqlite::openForWriting(m_draft.path());
        m_database->execute(pragmas);
        m_database->execute("BEGIN");
        m_database->execute(tables);
        m_insertChat.emplace(*m_database, insertChat);
        m_insertMessage.emplace(*m_database, insertMessage);
        m_insertReaction.emplace(*m_database, insertReaction);
    });
}

void SqliteWriter::write(const Conversation& conversation, const Selection& chosen)
{
    if (chosen.empty())
        return;
    concerning(m_file, [&] {
        addChat(conversation.chat());
        const Keys keys = newMessageKeys(conversation, chosen);
        for (const std::uint32_t index : chosen) {
            const std::uint32_t target = conversation.messages()[index].target;
            const auto targetKey = target == Message::none ? std::nullopt : keys[target];
            if (keys[index])
                addMessage(*keys[index], conversation.record(index), targetKey);
            else
                addReaction(conversation.record(index), targetKey);
        }
    });
}

void SqliteWriter::addChat(const ArchivedChat& chat)
{
    Row(*m_insertChat).integer(++m_lastChat).text(chat.guid).text(chat.title).insert();
}

/// By index; none for reactions and for what is not chosen. They are known before the rows are
/// written, because a record can refer to a later one.
SqliteWriter::Keys SqliteWriter::newMessageKeys(
    const Conversation& conversation, const Selection& chosen)
{
    Keys keys(conversation.messages().size());
    for (const std::uint32_t index : chosen) {
        if (!conversation.messages()[index].isReaction())
            keys[index] = ++m_lastMessage;
    }
    return keys;
}

void SqliteWriter::addMessage(
    std::int64_t key, const Record& record, std::optional<std::int64_t> replyTo)
{
    rowOf(record, key, m_lastChat, *m_insertMessage)
        .optionalText(record.replyToID)
        .integer(replyTo)
        .insert();
}

void SqliteWriter::addReaction(const Record& record, std::optional<std::int64_t> target)
{
    rowOf(record, ++m_lastReaction, m_lastChat, *m_insertReaction)
        .optionalText(record.reactionKind)
        .optionalText(record.reactionTargetID)
        .integer(target)
        .insert();
}

void SqliteWriter::finish()
{
    concerning(m_file, [this] {
        m_database->execute(indexes);
        m_database->execute("COMMIT");
        m_insertChat.reset();
        m_insertMessage.reset();
        m_insertReaction.reset();
        m_database.reset();
        Files::flush(m_draft.descriptor());
        checkJournals(m_file);
        m_draft.giveName(m_file, m_existing);
    });
}

} // namespace korvane
