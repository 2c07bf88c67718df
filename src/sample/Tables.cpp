#include "sample/Tables.h"

#include "sample/History.h"
#include "sample/MessageContent.h"
#include "sample/People.h"

#include <utility>

namespace korvane::sample {

const char* tablesSql()
{
    return R"(
CREATE TABLE chat (
    ROWID INTEGER PRIMARY KEY, guid TEXT UNIQUE NOT NULL, style INTEGER,
    state INTEGER DEFAULT 3, account_id TEXT, properties BLOB, chat_identifier TEXT,
    service_name TEXT, room_name TEXT, account_login TEXT, is_archived INTEGER DEFAULT 0,
    last_addressed_handle TEXT, display_name TEXT, group_id TEXT, is_filtered INTEGER DEFAULT 0,
    last_read_message_timestamp INTEGER DEFAULT 0);

CREATE TABLE handle (
    ROWID INTEGER PRIMARY KEY, id TEXT NOT NULL, country TEXT,
    service TEXT NOT NULL, uncanonicalized_id TEXT, UNIQUE (id, service));

CREATE TABLE message (
    ROWID INTEGER PRIMARY KEY, guid TEXT NOT NULL, text TEXT, handle_id INTEGER DEFAULT 0,
    subject TEXT, attributedBody BLOB, version INTEGER DEFAULT 10, type INTEGER DEFAULT 0,
    service TEXT, error INTEGER DEFAULT 0, date INTEGER, date_read INTEGER DEFAULT 0,
    date_delivered INTEGER DEFAULT 0, is_delivered INTEGER DEFAULT 1,
    is_finished INTEGER DEFAULT 1, is_from_me INTEGER DEFAULT 0, is_empty INTEGER DEFAULT 0,
    is_read INTEGER DEFAULT 0, is_sent INTEGER DEFAULT 0,
    cache_has_attachments INTEGER DEFAULT 0, cache_roomnames TEXT,
    is_audio_message INTEGER DEFAULT 0, item_type INTEGER DEFAULT 0, group_title TEXT,
    group_action_type INTEGER DEFAULT 0, balloon_bundle_id TEXT,
    expressive_send_style_id TEXT, associated_message_guid TEXT,
    associated_message_type INTEGER DEFAULT 0,
    thread_originator_guid TEXT, thread_originator_part TEXT, date_edited INTEGER DEFAULT 0);

CREATE TABLE attachment (
    ROWID INTEGER PRIMARY KEY, guid TEXT UNIQUE NOT NULL,
    created_date INTEGER DEFAULT 0, filename TEXT, mime_type TEXT,
    transfer_state INTEGER DEFAULT 5, is_outgoing INTEGER DEFAULT 0, transfer_name TEXT,
    total_bytes INTEGER DEFAULT 0, is_sticker INTEGER DEFAULT 0);

CREATE TABLE chat_handle_join (
    chat_id INTEGER REFERENCES chat (ROWID) ON DELETE CASCADE,
    handle_id INTEGER REFERENCES handle (ROWID) ON DELETE CASCADE,
    UNIQUE (chat_id, handle_id));

CREATE TABLE chat_message_join (
    chat_id INTEGER REFERENCES chat (ROWID) ON DELETE CASCADE,
    message_id INTEGER REFERENCES message (ROWID) ON DELETE CASCADE,
    message_date INTEGER DEFAULT 0,
    PRIMARY KEY (chat_id, message_id));

CREATE TABLE message_attachment_join (
    message_id INTEGER REFERENCES message (ROWID) ON DELETE CASCADE,
    attachment_id INTEGER REFERENCES attachment (ROWID) ON DELETE CASCADE,
    UNIQUE (message_id, attachment_id));
)";
}

std::span<const char* const> indexesSql()
{
    static constexpr const char* statements[] = {
        "CREATE UNIQUE INDEX message_idx_guid ON message (guid)",
        "CREATE INDEX message_idx_date ON message (date)",
        "CREATE INDEX message_idx_handle ON message (handle_id, date)",
        "CREATE INDEX chat_message_join_idx_message_date_id_chat_id"
        " ON chat_message_join (chat_id, message_date, message_id)",
        "CREATE INDEX chat_message_join_idx_message_id ON chat_message_join (message_id)",
        "CREATE INDEX chat_message_join_idx_chat_id ON chat_message_join (chat_id)",
        "CREATE INDEX message_attachment_join_idx_message_id"
        " ON message_attachment_join (message_id)",
        "CREATE INDEX message_attachment_join_idx_attachment_id"
        " ON message_attachment_join (attachment_id)",
        "CREATE INDEX chat_handle_join_idx_handle_id ON chat_handle_join (handle_id)",
    };
    return statements;
}

BatchInsert::BatchInsert(Sqlite& connection, std::string target)
    : m_connection(connection)
    , m_target(std::move(target))
{
}

void BatchInsert::flush()
{
    if (m_rows == 0)
        return;
    Sqlite::Statement statement = prepare(m_rows);
    write(statement);
}

void BatchInsert::append(std::int64_t integer)
{
    m_values.push_back({.type = Value::Type::Integer, .integer = integer});
}

void BatchInsert::append(std::optional<std::string_view> text)
{
    if (text)
        appendContent(Value::Type::Text, *text);
    else
        m_values.push_back({});
}

void BatchInsert::append(const std::optional<Blob>& blob)
{
    if (blob)
        appendContent(Value::Type::Blob, blob->bytes);
    else
        m_values.push_back({});
}

void BatchInsert::appendContent(Value::Type type, std::string_view content)
{
    m_values.push_back({.type = type, .start = m_content.size(), .size = content.size()});
    m_content += content;
}

Sqlite::Statement BatchInsert::prepare(std::size_t rows) const
{
    std::string row = "(?";
    for (std::size_t column = 1; column < m_columns; ++column)
        row += ", ?";
    row += ")";
    std::string sql = "INSERT INTO " + m_target + " VALUES " + row;
    for (std::size_t added = 1; added < rows; ++added)
        sql += ", " + row;
    return {m_connection, sql};
}

void BatchInsert::writeFullBatch()
{
    if (!m_fullBatch)
        m_fullBatch = prepare(rowsPerStatement);
    write(*m_fullBatch);
}

void BatchInsert::write(Sqlite::Statement& statement)
{
    int parameter = 0;
    for (const Value& value : m_values)
        bind(statement, ++parameter, value);
    statement.step();
    statement.reset();
    m_values.clear();
    m_content.clear();
    m_rows = 0;
}

void BatchInsert::bind(Sqlite::Statement& statement, int parameter, const Value& value) const
{
    const std::string_view content = std::string_view(m_content).substr(value.start, value.size);
    switch (value.type) {
    case Value::Type::Null:
        return statement.bindNull(parameter);
    case Value::Type::Integer:
        return statement.bind(parameter, value.integer);
    case Value::Type::Text:
        return statement.bindText(parameter, content);
    case Value::Type::Blob:
        return statement.bindBlob(parameter, content);
    }
}

namespace {

constexpr std::int64_t groupStyle = 43;
constexpr std::int64_t directStyle = 45;
constexpr std::string_view ownAccount = "E:me@example.com";

std::int64_t rowOf(std::size_t index)
{
    return static_cast<std::int64_t>(index) + 1;
}

std::optional<std::string_view> nullIfEmpty(std::string_view text)
{
    return text.empty() ? std::nullopt : std::optional(text);
}

} // namespace

Tables::Tables(Sqlite& connection)
    : m_handles(connection, "handle (ROWID, id, service, uncanonicalized_id)")
    , m_chats(connection,
          "chat (ROWID, guid, style, chat_identifier, service_name, room_name, display_name,"
          " account_login)")
    , m_chatHandles(connection, "chat_handle_join (chat_id, handle_id)")
    , m_messages(connection,
          "message (ROWID, guid, text, attributedBody, handle_id, service, date, date_delivered,"
          " date_read, is_from_me, is_sent, is_read, cache_has_attachments, cache_roomnames,"
          " item_type, group_title, associated_message_guid, associated_message_type,"
          " thread_originator_guid, thread_originator_part)")
    , m_chatMessages(connection, "chat_message_join (chat_id, message_id, message_date)")
    , m_attachments(connection,
          "attachment (ROWID, guid, created_date, filename, mime_type, is_outgoing,"
          " transfer_name, total_bytes)")
    , m_messageAttachments(connection, "message_attachment_join (message_id, attachment_id)")
{
}

void Tables::addPeople(const People& people)
{
    for (std::size_t index = 0; index < people.handles.size(); ++index) {
        const Handle& handle = people.handles[index];
        m_handles.add(rowOf(index), handle.id, handle.service, handle.id);
    }
    for (std::size_t index = 0; index < people.chats.size(); ++index)
        addChat(rowOf(index), people.chats[index]);
}

void Tables::addMessage(const Message& message)
{
    addMessageRow(message);
    if (message.chats.first)
        m_chatMessages.add(rowOf(*message.chats.first), message.row, message.date);
    if (message.chats.second)
        m_chatMessages.add(rowOf(*message.chats.second), message.row, message.date);
    addAttachments(message);
}

void Tables::flush()
{
    for (BatchInsert* table : {&m_handles, &m_chats, &m_chatHandles, &m_messages, &m_chatMessages,
             &m_attachments, &m_messageAttachments})
        table->flush();
}

void Tables::addChat(std::int64_t chatID, const Chat& chat)
{
    m_chats.add(chatID, chat.guid, chat.isGroup ? groupStyle : directStyle, chat.identifier,
        chat.service, nullIfEmpty(chat.isGroup ? chat.identifier : std::string_view()),
        nullIfEmpty(chat.displayName), ownAccount);
    for (const std::size_t member : chat.members)
        m_chatHandles.add(chatID, rowOf(member));
}

void Tables::addMessageRow(const Message& message)
{
    std::optional<std::string_view> plainText;
    std::optional<Blob> attributedBody;
    std::string archive;
    if (message.textIsPlain) {
        plainText = nullIfEmpty(message.text);
    } else if (!message.text.empty()) {
        archive = encodeAttributedBody(message.text);
        attributedBody = Blob{archive};
    }
    const bool isReply = !message.threadOriginatorGuid.empty();
    m_messages.add(message.row, message.guid, plainText, attributedBody,
        message.handle ? rowOf(*message.handle) : 0, message.service, message.date,
        message.dateDelivered, message.dateRead, message.fromMe, message.fromMe, !message.fromMe,
        message.hasAttachments, nullIfEmpty(message.roomName), message.itemType,
        nullIfEmpty(message.groupTitle), nullIfEmpty(message.associatedGuid),
        message.associatedType, nullIfEmpty(message.threadOriginatorGuid),
        nullIfEmpty(isReply ? "0:0:1" : ""));
}

void Tables::addAttachments(const Message& message)
{
    for (const Attachment& attachment : message.attachments) {
        m_attachments.add(++m_attachmentCount, attachment.guid, message.date, attachment.filename,
            attachment.mimeType, message.fromMe, attachment.transferName, attachment.totalBytes);
        if (message.attachmentsAreJoined)
            m_messageAttachments.add(message.row, m_attachmentCount);
    }
}

} // namespace korvane::sample
