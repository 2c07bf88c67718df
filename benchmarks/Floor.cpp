#include "Floor.h"

#include "messages/MessageQuery.h"

#include <sqlite3.h>

#include <algorithm>
#include <fstream>
#include <stdexcept>

namespace korvane {

namespace {

using Parameters = std::vector<std::int64_t>;

sqlite3* opened(const std::string& path)
{
    sqlite3* db = nullptr;
    if (sqlite3_open_v2(path.c_str(), &db, SQLITE_OPEN_READONLY, nullptr) != SQLITE_OK)
        throw std::runtime_error(path + " cannot be opened");
    sqlite3_exec(db, "SELECT 1 FROM message LIMIT 1", nullptr, nullptr, nullptr);
    return db;
}

std::uint64_t readColumn(sqlite3_stmt* row, int column)
{
    switch (sqlite3_column_type(row, column)) {
    case SQLITE_INTEGER:
        return static_cast<std::uint64_t>(sqlite3_column_int64(row, column));
    case SQLITE_NULL:
        return 1;
    case SQLITE_BLOB:
        return sqlite3_column_blob(row, column) != nullptr
            ? static_cast<std::uint64_t>(sqlite3_column_bytes(row, column))
            : 0;
    default:
        return sqlite3_column_text(row, column)[0]
            + static_cast<std::uint64_t>(sqlite3_column_bytes(row, column));
    }
}

/// Runs `sql` and reads every column of every row. Appends the first column to `ids` if given.
/// Returns a checksum of the values.
std::uint64_t query(
    sqlite3* db, const std::string& sql, const Parameters& parameters, Parameters* ids = nullptr)
{
    sqlite3_stmt* row = nullptr;
    if (sqlite3_prepare_v2(db, sql.c_str(), -1, &row, nullptr) != SQLITE_OK)
        throw std::runtime_error(sqlite3_errmsg(db));
    for (std::size_t i = 0; i < parameters.size(); ++i)
        sqlite3_bind_int64(row, static_cast<int>(i) + 1, parameters[i]);
    std::uint64_t sum = 0;
    const int columns = sqlite3_column_count(row);
    while (sqlite3_step(row) == SQLITE_ROW) {
        for (int i = 0; i < columns; ++i)
            sum += readColumn(row, i);
        if (ids)
            ids->push_back(sqlite3_column_int64(row, 0));
    }
    sqlite3_finalize(row);
    return sum;
}

const std::string& fullQuery()
{
    static const std::string sql = messageQuery({
        .message = {"guid", "associated_message_type", "associated_message_guid",
            "thread_originator_guid", "item_type"},
        .attachment = {"mime_type"},
        .attachmentJoin = {"message_id", "attachment_id"},
    });
    return sql;
}

void writeZeros(std::int64_t bytes, const std::string& path)
{
    const std::string block(std::size_t{1} << 20U, '\0');
    std::ofstream file(path, std::ios::binary);
    for (; bytes > 0; bytes -= static_cast<std::int64_t>(block.size()))
        file.write(block.data(), std::min(bytes, static_cast<std::int64_t>(block.size())));
}

} // namespace

std::uint64_t Floor::exportAll(
    const std::string& database, std::int64_t bytes, const std::string& file)
{
    sqlite3* db = opened(database);
    std::uint64_t sum = query(db, participantQuery, {});
    Parameters chats;
    sum += query(db, chatQuery, {}, &chats);
    for (const std::int64_t chat : chats) {
        for (const char* table : {"message", "attachment", "message_attachment_join"})
            sum += query(db, std::string("PRAGMA table_info(") + table + ")", {});
        sum += query(db, guidQuery, {chat});
        sum += query(db, fullQuery(), {chat, 0});
    }
    sqlite3_close(db);
    writeZeros(bytes, file);
    return sum;
}

std::uint64_t Floor::askForNew(
    const std::string& database, const std::vector<std::pair<std::int64_t, std::int64_t>>& chats)
{
    sqlite3* db = opened(database);
    std::uint64_t sum = 0;
    for (const auto& [chat, after] : chats)
        sum += query(db, fullQuery(), {chat, after});
    sqlite3_close(db);
    return sum;
}

} // namespace korvane
