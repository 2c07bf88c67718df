#pragma once

#include "messages/MessageTypes.h"
#include "messages/MessagesDB.h"
#include "support/Printing.h"
#include "support/TestDatabase.h"

#include <cstdint>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace korvane {

/// A database with one chat (row id 1) and one handle (row id 1), without messages.
class OneChat : public TestDatabase {
public:
    explicit OneChat(Schema schema = Schema::Current) : TestDatabase(schema)
    {
        addChat(1, "chat;1");
        addHandle(1, "+15550100");
    }

    /// The chat's messages above `afterRowID`, read through a new MessagesDB.
    std::vector<MessageRow> rows(std::int64_t afterRowID = 0) const
    {
        return MessagesDB(path()).messages(1, afterRowID);
    }

    MessageRow row(std::int64_t rowID) const
    {
        for (MessageRow& row : rows()) {
            if (row.rowID == rowID)
                return std::move(row);
        }
        throw std::out_of_range("no row " + std::to_string(rowID));
    }

    /// Adds `message` to the chat and returns its row.
    MessageRow rowOf(const Message& message) { return row(addMessage(1, message)); }
};

/// Without an index, guids are found in another way.
inline void removeGuidIndex(OneChat& database)
{
    database.sql().execute("ALTER TABLE message RENAME COLUMN guid TO unique_guid;"
                           "ALTER TABLE message ADD COLUMN guid TEXT;"
                           "UPDATE message SET guid = unique_guid");
}

/// The row ids of `rows`, in the same order.
inline std::vector<std::int64_t> rowIDs(const std::vector<MessageRow>& rows)
{
    std::vector<std::int64_t> ids;
    ids.reserve(rows.size());
    for (const MessageRow& row : rows)
        ids.push_back(row.rowID);
    return ids;
}

/// The message of the DBError that `action` throws, or "(no error)".
template <typename Action>
std::string errorOf(Action action)
{
    try {
        action();
    } catch (const DBError& error) {
        return error.message;
    }
    return "(no error)";
}

/// A string from a literal that contains NUL bytes.
template <std::size_t size>
std::string bytes(const char (&literal)[size])
{
    return {literal, size - 1};
}

using Kind = std::optional<std::string_view>;
using RowID = std::optional<std::int64_t>;

/// An absent row id. g++ 12 warns in optimised builds that a temporary RowID() is uninitialised, so
/// this is a constant.
inline const RowID noRow;

} // namespace korvane

/// Overloads with which a failing QCOMPARE prints the reader's types.
namespace QTest {

template <>
inline char* toString(const korvane::RowID& id)
{
    return qstrdup(id ? std::to_string(*id).c_str() : "(absent)");
}

template <>
inline char* toString(const std::optional<int>& number)
{
    return qstrdup(number ? std::to_string(*number).c_str() : "(absent)");
}

template <>
inline char* toString(const korvane::Kind& kind)
{
    return qstrdup(kind ? std::string(*kind).c_str() : "(absent)");
}

template <>
inline char* toString(const korvane::ReferenceTime& time)
{
    return qstrdup(std::to_string(time.count()).c_str());
}

template <>
inline char* toString(const std::vector<std::int64_t>& ids)
{
    std::string text;
    for (const std::int64_t id : ids)
        text += std::to_string(id) + " ";
    return qstrdup(text.c_str());
}

template <>
inline char* toString(const std::vector<std::string>& texts)
{
    std::string list;
    for (const std::string& text : texts)
        list += "[" + text + "]";
    return qstrdup(list.c_str());
}

} // namespace QTest
