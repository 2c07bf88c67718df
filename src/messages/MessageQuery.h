#pragma once

#include <functional>
#include <set>
#include <string>

namespace korvane {

/// The column names of one table.
using ColumnSet = std::set<std::string, std::less<>>;

/// The columns that this system's release of the Messages database really has.
struct MessageColumns {
    ColumnSet message;
    ColumnSet attachment;
    ColumnSet attachmentJoin;
};

/// The query for the messages of chat ?1 with a row id over ?2, ordered by date and row id. A
/// column that the database lacks is replaced by NULL, so that the result always has the columns
/// of MessageColumn.
std::string messageQuery(const MessageColumns& columns);

/// The query for guid and row id of every message of chat ?1.
extern const char* const guidQuery;

/// The query for the participants of all chats: chat id and handle.
extern const char* const participantQuery;

/// The query for the chats that have messages, the one with the newest message first.
extern const char* const chatQuery;

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
