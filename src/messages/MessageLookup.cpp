#include "messages/MessageLookup.h"

#include "messages/MessageQuery.h"
#include "messages/RowReader.h"

namespace korvane {

namespace {

/// The join table of current systems has a copy of the date. There is an index on it, while
/// ordering by the message's own date would read every message of the chat.
std::string newestQuery(Sqlite& connection)
{
    Sqlite::Statement dateColumn(connection,
        "SELECT 1 FROM pragma_table_info('chat_message_join') WHERE name = 'message_date'");
    return dateColumn.step() ? newestByJoinQuery : newestByMessageQuery;
}

/// Runs `statement` with its only parameter. False if there is no result.
bool finds(Sqlite::Statement& statement, std::int64_t parameter)
{
    statement.reset();
    statement.bind(1, parameter);
    return statement.step();
}

} // namespace

MessageLookup::Transaction::Transaction(Sqlite& connection) : m_connection(connection)
{
    m_connection.execute("BEGIN");
}

MessageLookup::Transaction::~Transaction()
{
    try {
        m_connection.execute("COMMIT");
    } catch (const DBError&) {
        // SQLite has ended the transaction itself, because reading failed.
    }
}

MessageLookup::MessageLookup(Sqlite& connection)
    : m_connection(connection)
    , m_transaction(connection)
    , m_date(connection, "SELECT date FROM message WHERE ROWID = ?")
{
}

std::optional<ReferenceTime> MessageLookup::date(std::int64_t rowID)
{
    return finds(m_date, rowID) ? std::optional(referenceTime(m_date.integer(0))) : std::nullopt;
}

bool MessageLookup::read(
    std::int64_t rowID, const std::function<void(const MessageRowView&)>& visit)
{
    if (!m_message)
        m_message.emplace(m_connection, oneMessageQuery);
    if (!finds(*m_message, rowID))
        return false;
    GuidMap noGuids;
    RowReader reader(*m_message, noGuids, false);
    visit(reader.read());
    return true;
}

std::optional<std::int64_t> MessageLookup::newest(std::int64_t chatID)
{
    if (!m_newest)
        m_newest.emplace(m_connection, newestQuery(m_connection));
    return finds(*m_newest, chatID) ? std::optional(m_newest->integer(0)) : std::nullopt;
}

} // namespace korvane
