#include "support/TestDatabase.h"

#include <algorithm>

namespace korvane {

namespace {

constexpr const char* commonTables = R"(
        CREATE TABLE chat (ROWID INTEGER PRIMARY KEY, guid TEXT, display_name TEXT,
            chat_identifier TEXT, style INTEGER);
        CREATE TABLE handle (ROWID INTEGER PRIMARY KEY, id TEXT);
        CREATE TABLE chat_handle_join (chat_id INTEGER, handle_id INTEGER);
        CREATE TABLE chat_message_join (chat_id INTEGER, message_id INTEGER,
            PRIMARY KEY (chat_id, message_id));
        CREATE TABLE attachment (ROWID INTEGER PRIMARY KEY, mime_type TEXT);
        CREATE TABLE message_attachment_join (message_id INTEGER, attachment_id INTEGER);)";

constexpr const char* oldMessages = R"(
        CREATE TABLE message (ROWID INTEGER PRIMARY KEY, text TEXT, attributedBody BLOB,
            handle_id INTEGER, date INTEGER, is_from_me INTEGER, cache_has_attachments INTEGER);)";

constexpr const char* currentMessages = R"(
        CREATE TABLE message (ROWID INTEGER PRIMARY KEY, guid TEXT UNIQUE, text TEXT,
            attributedBody BLOB, handle_id INTEGER, date INTEGER, is_from_me INTEGER,
            cache_has_attachments INTEGER, associated_message_type INTEGER,
            associated_message_guid TEXT, thread_originator_guid TEXT, item_type INTEGER);)";

void bindOptional(Sqlite::Statement& row, int parameter, const std::optional<std::string>& text)
{
    if (text)
        row.bindText(parameter, *text);
}

} // namespace

TestDatabase::TestDatabase(Schema schema)
    : m_current(schema == Schema::Current)
    , m_db(Sqlite::openForWriting(path()))
{
    m_db.execute("PRAGMA synchronous = OFF"); // for speed: no test survives a power cut
    m_db.execute(commonTables);
    m_db.execute(m_current ? currentMessages : oldMessages);
}

std::string TestDatabase::path() const
{
    return folder() + "/chat.db";
}

std::string TestDatabase::folder() const
{
    return m_folder.path().toStdString();
}

void TestDatabase::addHandle(std::int64_t id, const std::string& handle)
{
    Sqlite::Statement row(m_db, "INSERT INTO handle VALUES (?, ?)");
    row.bind(1, id);
    row.bindText(2, handle);
    row.step();
}

void TestDatabase::addChat(std::int64_t id, const std::string& guid, const std::string& displayName,
    const std::string& identifier, int style)
{
    Sqlite::Statement row(m_db, "INSERT INTO chat VALUES (?, ?, ?, ?, ?)");
    row.bind(1, id);
    row.bindText(2, guid);
    row.bindText(3, displayName);
    row.bindText(4, identifier);
    row.bind(5, style);
    row.step();
}

void TestDatabase::addMember(std::int64_t chat, std::int64_t handle)
{
    Sqlite::Statement row(m_db, "INSERT INTO chat_handle_join VALUES (?, ?)");
    row.bind(1, chat);
    row.bind(2, handle);
    row.step();
}

std::int64_t TestDatabase::addMessage(std::int64_t chat, const Message& message)
{
    const std::int64_t id = message.rowID != 0 ? message.rowID : m_lastRowID + 1;
    const std::string guid = message.guid.value_or("M" + std::to_string(id));
    m_lastRowID = std::max(m_lastRowID, id);

    Sqlite::Statement row(m_db,
        m_current ? "INSERT INTO message VALUES (?1, ?8, ?2, ?3, ?4, ?5, ?6, ?7, ?9, ?10, ?11, ?12)"
                  : "INSERT INTO message VALUES (?1, ?2, ?3, ?4, ?5, ?6, ?7)");
    row.bind(1, id);
    bindOptional(row, 2, message.text);
    if (message.body)
        row.bindBlob(3, *message.body);
    row.bind(4, message.handle);
    row.bind(5, message.date != 0 ? message.date : 700'000'000 + id);
    row.bind(6, message.fromMe ? 1 : 0);
    row.bind(7, message.hasAttachments ? 1 : 0);
    if (m_current) {
        row.bindText(8, guid);
        if (message.associatedType)
            row.bind(9, *message.associatedType);
        bindOptional(row, 10, message.associatedGuid);
        bindOptional(row, 11, message.threadGuid);
        row.bind(12, message.itemType);
    }
    row.step();
    if (chat != 0) {
        Sqlite::Statement join(m_db, "INSERT INTO chat_message_join VALUES (?, ?)");
        join.bind(1, chat);
        join.bind(2, id);
        join.step();
    }
    return id;
}

void TestDatabase::addAttachment(std::int64_t message, const std::optional<std::string>& mimeType)
{
    const std::int64_t id = ++m_lastAttachment;
    Sqlite::Statement row(m_db, "INSERT INTO attachment VALUES (?, ?)");
    row.bind(1, id);
    bindOptional(row, 2, mimeType);
    row.step();
    Sqlite::Statement join(m_db, "INSERT INTO message_attachment_join VALUES (?, ?)");
    join.bind(1, message);
    join.bind(2, id);
    join.step();
}

} // namespace korvane
