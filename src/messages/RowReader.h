#pragma once

#include "messages/GuidMap.h"
#include "messages/MessageRow.h"
#include "messages/Sqlite.h"

#include <string>
#include <string_view>

namespace korvane {

/// Turns the current row of a message query into a MessageRowView. Its views point into SQLite's
/// row or into this object, and live until the next call. Used by one thread at a time.
class RowReader {
public:
    /// `hasAssociatedType` tells whether the database has that column: only then can a message be
    /// told from a reaction, and rows have a record kind.
    RowReader(const Sqlite::Statement& row, GuidMap& guids, bool hasAssociatedType);

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
