#pragma once

#include "messages/ChatInfo.h"
#include "messages/MessagesDB.h"
#include "support/Printing.h"
#include "support/TestDatabase.h"

#include <cstdint>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace korvane {

/// A database with one chat, number 1, and one handle, number 1, for tests to fill.
class OneChat : public TestDatabase {
public:
    explicit OneChat(Schema schema = Schema::Current) : TestDatabase(schema)
    {
        addChat(1, "chat;1");
        addHandle(1, "+15550100");
    }

    /// What a fresh reader makes of the chat.
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

    /// The only row after adding `message` to a chat without any.
    MessageRow rowOf(const Message& message) { return row(addMessage(1, message)); }
};

/// The row ids, in their order.
inline std::vector<std::int64_t> rowIDs(const std::vector<MessageRow>& rows)
{
    std::vector<std::int64_t> ids;
    ids.reserve(rows.size());
    for (const MessageRow& row : rows)
        ids.push_back(row.rowID);
    return ids;
}

/// The text of the DBError that `action` throws; "(no error)" without one.
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

/// A literal with the NULs in it.
template <std::size_t size>
std::string bytes(const char (&literal)[size])
{
    return {literal, size - 1};
}

using Kind = std::optional<std::string_view>;
using RowID = std::optional<std::int64_t>;

/// No row. A constant, for g++ 12 takes a temporary RowID() for uninitialised in optimised builds.
inline const RowID noRow;

} // namespace korvane

/// Lets a failing QCOMPARE show what the reader yields.
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
