#pragma once

#include "messages/GuidMap.h"
#include "messages/MessageRow.h"
#include "messages/Sqlite.h"

#include <string>
#include <string_view>

namespace korvane {

/// Turns the current row of a message query into a MessageRowView. The row's views point into
/// SQLite's memory or into this object and are valid until the statement steps or read() is called
/// again. Used by one thread at a time.
class RowReader {
public:
    /// `row` and `guids` must outlive this object. `hasAssociatedType` says whether the message
    /// table has the column associated_message_type. Without it, reactions look like messages, so
    /// rows have no record kind.
    RowReader(const Sqlite::Statement& row, GuidMap& guids, bool hasAssociatedType);

    /// Reads the current row. Throws DBError, and std::overflow_error (see referenceTime()).
    const MessageRowView& read();

private:
    std::string_view text();
    std::string_view decodedBody() const;
    void readSender();
    void readReaction(int associatedType);
    void readOrdinary();

    const Sqlite::Statement& m_row;
    GuidMap& m_guids;
    const bool m_hasAssociatedType;
    MessageRowView m_view;
    std::string m_ownText;
    std::string m_ownHandle;
    std::string m_senderID;
};

} // namespace korvane
