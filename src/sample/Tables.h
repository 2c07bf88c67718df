#pragma once

#include "messages/Sqlite.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace korvane::sample {

struct Chat;
struct Message;
struct People;

/// The statements that create the tables. Their unique constraints are those that cost little
/// while rows are inserted in order.
const char* tablesSql();

/// The statements that create the indexes, one index each. Building an index over a complete table
/// is much faster than updating it with every row. The unique index over message.guid is therefore
/// here and not a constraint of the table.
std::span<const char* const> indexesSql();

struct Blob {
    std::string_view bytes;
};

/// Inserts rows into one table, 32 with each statement, which is faster than one by one. Must not
/// outlive its connection.
class BatchInsert {
public:
    /// `target` is the table and the columns to fill, as in "handle (id, service)".
    BatchInsert(Sqlite& connection, std::string target);

    /// Copies the values of one row, one per column, and writes them with the batch.
    template <typename... Values>
    void add(const Values&... values)
    {
        (append(values), ...);
        m_columns = sizeof...(Values);
        if (++m_rows == rowsPerStatement)
            writeFullBatch();
    }

    /// Writes the rows of an incomplete batch. Call it after the last row.
    void flush();

private:
    struct Value {
        enum class Type { Null, Integer, Text, Blob };
        Type type = Type::Null;
        std::int64_t integer = 0;
        std::size_t start = 0; ///< Of a text or blob in m_content.
        std::size_t size = 0;
    };

    void append(std::int64_t integer);
    void append(std::optional<std::string_view> text);
    void append(const std::optional<Blob>& blob);
    void appendContent(Value::Type type, std::string_view content);

    Sqlite::Statement prepare(std::size_t rows) const;
    void writeFullBatch();
    void write(Sqlite::Statement& statement);
    void bind(Sqlite::Statement& statement, int parameter, const Value& value) const;

    static constexpr std::size_t rowsPerStatement = 32;

    Sqlite& m_connection;
    std::string m_target;
    std::optional<Sqlite::Statement> m_fullBatch; ///< Prepared when first needed.
    std::vector<Value> m_values; ///< Of the rows not yet written, row by row.
    std::string m_content; ///< The texts and blobs of those rows.
    std::size_t m_columns = 0;
    std::size_t m_rows = 0;
};

/// Fills the tables of a database, which must exist and be empty. The row id of a handle or
/// chat is its index plus one. Must not outlive its connection.
class Tables {
public:
    explicit Tables(Sqlite& connection);

    void addPeople(const People& people);
    void addMessage(const Message& message);

    /// Writes the rows still in memory. Call it after the last message.
    void flush();

private:
    void addChat(std::int64_t chatID, const Chat& chat);
    void addMessageRow(const Message& message);
    void addAttachments(const Message& message);

    BatchInsert m_handles;
    BatchInsert m_chats;
    BatchInsert m_chatHandles;
    BatchInsert m_messages;
    BatchInsert m_chatMessages;
    BatchInsert m_attachments;
    BatchInsert m_messageAttachments;
    std::int64_t m_attachmentCount = 0;
};

} // namespace korvane::sample
