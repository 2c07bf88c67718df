#pragma once

#include "messages/MessageTypes.h"
#include "messages/Sqlite.h"

#include <cstdint>
#include <functional>
#include <optional>

namespace korvane {

/// Looks up single messages of an open database by row id. All lookups see one state of the
/// database: a read transaction spares SQLite from locking the file for each of them. It also keeps
/// Messages from trimming its log, so an object is meant to live for milliseconds. Must not outlive
/// the connection and is used by its thread. The functions throw DBError, and std::overflow_error
/// (see referenceTime()).
class MessageLookup {
public:
    explicit MessageLookup(Sqlite& connection);
    MessageLookup(const MessageLookup&) = delete;
    MessageLookup& operator=(const MessageLookup&) = delete;

    /// The date of a message. Absent if there is no message with this row id. Which
    /// chat it belongs to does not matter.
    std::optional<ReferenceTime> date(std::int64_t rowID);

    /// Passes a message to `visit`, with the same text, sender and date as
    /// MessagesDB::forEachMessage(), but without record kind, photo count and references. Returns
    /// false if there is no such message.
    bool read(std::int64_t rowID, const std::function<void(const MessageRowView&)>& visit);

    /// The row id of a chat's newest message. Absent if the chat has no messages. Fast if the
    /// database has the index of a real one, otherwise it reads all dates of the chat.
    std::optional<std::int64_t> newest(std::int64_t chatID);

private:
    /// Begins a transaction, and ends it when destroyed.
    class Transaction {
    public:
        explicit Transaction(Sqlite& connection);
        Transaction(const Transaction&) = delete;
        Transaction& operator=(const Transaction&) = delete;
        ~Transaction();

    private:
        Sqlite& m_connection;
    };

    Sqlite& m_connection;
    Transaction m_transaction;
    Sqlite::Statement m_date;
    std::optional<Sqlite::Statement> m_message; ///< prepared when first used: rarely needed
    std::optional<Sqlite::Statement> m_newest; ///< the same
};

} // namespace korvane
