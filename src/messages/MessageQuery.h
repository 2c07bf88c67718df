#pragma once

#include <algorithm>
#include <initializer_list>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace korvane {

/// The column names of one table. With a few dozen names, linear search is faster than a tree.
class ColumnSet {
public:
    ColumnSet() = default;
    ColumnSet(std::initializer_list<std::string> names) : m_names(names) { }

    bool isEmpty() const { return m_names.empty(); }
    void insert(std::string name) { m_names.push_back(std::move(name)); }
    bool contains(std::string_view name) const
    {
        return std::find(m_names.begin(), m_names.end(), name) != m_names.end();
    }

private:
    std::vector<std::string> m_names;
};

/// The columns present in this database. They differ between releases of the operating system.
struct MessageColumns {
    ColumnSet message;
    ColumnSet attachment;
    ColumnSet attachmentJoin;
    bool guidIsIndexed = false;
};

/// The query for the messages of chat ?1 with a row id greater than ?2, ordered by date and row id.
/// A column missing from the database is selected as NULL, so the result always has the columns of
/// MessageColumn.
std::string messageQuery(const MessageColumns& columns);

/// The query for the message with row id ?1, in the columns of MessageColumn. Those for kinds,
/// attachments and references are NULL.
extern const char* const oneMessageQuery;

/// The queries for the row id of the newest message of chat ?1: by the date in the join table,
/// which old systems do not have, or by the date in the message table.
extern const char* const newestByJoinQuery;
extern const char* const newestByMessageQuery;

/// The query for guid and row id of every message of chat ?1.
extern const char* const guidQuery;

/// The query for the row id of the message with guid ?1 in chat ?2; of several, the last that
/// guidQuery yields. Finds no guid that is stored as a blob. Fast only with an index on the guid.
extern const char* const oneGuidQuery;

/// The query for a row if any message has a guid that is stored as a blob, or that begins with the
/// prefix of a reference. Fast only with an index on the guid.
extern const char* const unusualGuidQuery;

/// The query for the participants of all chats: chat id and handle.
extern const char* const participantQuery;

/// The query for the chats that have messages, the one with the newest message first.
extern const char* const chatQuery;

/// The queries for the row ids of all messages, and of those that belong to a chat.
extern const char* const messageIDQuery;
extern const char* const filedMessageIDQuery;

/// The result columns of messageQuery(), by index.
namespace MessageColumn {
enum : int {
    RowID,
    Date,
    IsFromMe,
    Handle,
    Text,
    AttributedBody,
    HasAttachments,
    AssociatedType,
    AssociatedGuid,
    ThreadOriginatorGuid,
    ItemType,
    PhotoCount,
};
}

} // namespace korvane
