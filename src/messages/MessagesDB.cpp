#include "messages/MessagesDB.h"

#include "messages/AttributedBody.h"
#include "messages/DatabaseFault.h"
#include "messages/MessageLookup.h"
#include "messages/MessageQuery.h"
#include "messages/RowReader.h"
#include "text/Utf8.h"

#include <QDir>

#include <algorithm>
#include <unordered_map>
#include <utility>

namespace korvane {

namespace {

constexpr int groupStyle = 43;

using MembersByChat = std::unordered_map<std::int64_t, std::vector<std::string>>;

Sqlite openOrExplain(const std::string& path)
{
    if (const auto fault = faultOfFiles(path)) {
        const bool opens = fault->cause != DatabaseFault::Cause::NotAFile;
        throw DBError(opens ? MessagesDB::cannotRead : MessagesDB::cannotOpen);
    }
    try {
        return Sqlite::openReadOnly(path);
    } catch (const DBError&) {
        throw DBError(MessagesDB::cannotOpen);
    }
}

void probe(Sqlite& db)
{
    try {
        db.execute(databaseProbe);
    } catch (const DBError&) {
        throw DBError(MessagesDB::cannotRead);
    }
}

std::optional<std::string> textOf(const Sqlite::Statement& row, int column)
{
    const auto text = row.text(column);
    return text ? std::optional(repairedUtf8(*text)) : std::nullopt;
}

MembersByChat readMembers(Sqlite& db)
{
    MembersByChat members;
    Sqlite::Statement row(db, participantQuery);
    while (row.step()) {
        if (auto handle = textOf(row, 1))
            members[row.integer(0)].push_back(std::move(*handle));
    }
    return members;
}

ChatInfo readChat(const Sqlite::Statement& row, MembersByChat& members)
{
    const std::int64_t id = row.integer(0);
    return {
        .id = id,
        .guid = textOf(row, 1).value_or("chat" + std::to_string(id)),
        .displayName = textOf(row, 2).value_or(""),
        .identifier = textOf(row, 3).value_or(""),
        .isGroup = row.integer32(4) == groupStyle,
        .lastDate = referenceTime(row.integer(5)),
        .messageCount = row.integer(6),
        .members = std::move(members[id]),
    };
}

MessageRow toMessageRow(const MessageRowView& row)
{
    const auto copy
        = [](const auto& text) { return text ? std::optional(std::string(*text)) : std::nullopt; };
    return {
        .rowID = row.rowID,
        .date = row.date,
        .fromMe = row.fromMe,
        .handle = copy(row.handle),
        .text = std::string(row.text),
        .attachmentCount = row.attachmentCount,
        .senderID = copy(row.senderID),
        .photoCount = row.photoCount,
        .recordKind = row.recordKind,
        .reactionKind = row.reactionKind,
        .reactionTargetRowID = row.reactionTargetRowID,
        .replyToRowID = row.replyToRowID,
    };
}

/// Reads a table's columns once per connection. Reading them again for each chat would take longer
/// than the query for a chat without new messages.
void learnColumns(ColumnSet& columns, const std::string& table, Sqlite& db)
{
    if (!columns.isEmpty())
        return;
    ColumnSet names;
    Sqlite::Statement row(db, "PRAGMA table_info(" + table + ")");
    while (row.step()) {
        if (auto name = textOf(row, 1))
            names.insert(std::move(*name));
    }
    columns = std::move(names);
}

/// Whether an index, of all rows and in the order of bytes, begins with the guid.
bool hasGuidIndex(Sqlite& db)
{
    Sqlite::Statement row(db,
        "SELECT 1 FROM pragma_index_list('message') i, pragma_index_xinfo(i.name) c "
        "WHERE NOT i.partial AND c.seqno = 0 AND lower(c.name) = 'guid' AND c.coll = 'BINARY'");
    return row.step();
}

void learnColumns(MessageColumns& columns, Sqlite& db)
{
    if (!columns.message.isEmpty())
        return;
    learnColumns(columns.attachment, "attachment", db);
    learnColumns(columns.attachmentJoin, "message_attachment_join", db);
    columns.guidIsIndexed = hasGuidIndex(db);
    learnColumns(columns.message, "message", db);
}

} // namespace

const std::string& MessagesDB::path()
{
    static const std::string path = QDir::homePath().toStdString() + "/Library/Messages/chat.db";
    return path;
}

MessagesDB::MessagesDB(const std::string& path)
    : m_db(openOrExplain(path))
    , m_columns(std::make_unique<MessageColumns>())
{
    probe(m_db);
}

MessagesDB::~MessagesDB() = default;

std::vector<ChatInfo> MessagesDB::chats()
{
    MembersByChat members = readMembers(m_db);
    std::vector<ChatInfo> chats;
    Sqlite::Statement row(m_db, chatQuery);
    while (row.step())
        chats.push_back(readChat(row, members));
    return chats;
}

std::vector<MessageRow> MessagesDB::messages(std::int64_t chatID, std::int64_t afterRowID)
{
    std::vector<MessageRow> rows;
    forEachMessage(
        chatID, afterRowID, [&rows](const auto& row) { rows.push_back(toMessageRow(row)); });
    return rows;
}

void MessagesDB::forEachMessage(
    std::int64_t chatID, std::int64_t afterRowID, const RowVisitor& visit)
{
    learnColumns(*m_columns, m_db);
    GuidMap guids = m_columns->message.contains("guid")
        ? GuidMap(m_db, chatID, m_columns->guidIsIndexed)
        : GuidMap();
    Sqlite::Statement row(m_db, messageQuery(*m_columns));
    row.bind(1, chatID);
    row.bind(2, afterRowID);
    RowReader reader(row, guids, m_columns->message.contains("associated_message_type"));
    while (row.step())
        visit(reader.read());
}

MessageLookup MessagesDB::lookup()
{
    return MessageLookup(m_db);
}

/// Compares here and not in SQL: without an index on the messages of the join table, which old
/// databases may lack, SQLite would search the whole table for each message.
std::int64_t MessagesDB::unfiledMessages()
{
    std::vector<std::int64_t> filed;
    Sqlite::Statement join(m_db, filedMessageIDQuery);
    while (join.step())
        filed.push_back(join.integer(0));
    std::sort(filed.begin(), filed.end());

    std::int64_t unfiled = 0;
    Sqlite::Statement message(m_db, messageIDQuery);
    while (message.step())
        unfiled += std::binary_search(filed.begin(), filed.end(), message.integer(0)) ? 0 : 1;
    return unfiled;
}

std::optional<std::string_view> MessagesDB::decodeAttributedBody(std::string_view bytes)
{
    return textOfAttributedBody(bytes);
}

} // namespace korvane
