#pragma once

#include "sample/Insert.h"
#include "sample/SampleHistory.h"
#include "sample/SamplePeople.h"

#include <cstdint>

namespace korvane::sample {

/// Puts people and messages into the rows of a database whose tables are there and empty. A row's
/// id is its index plus one. Must not outlive its connection.
class SampleTables {
public:
    explicit SampleTables(Sqlite& connection);

    void addPeople(const SamplePeople& people);
    void addMessage(const SampleMessage& message);

    /// To be called after the last message.
    void finish();

private:
    void addChat(std::int64_t chatID, const Chat& chat);
    void addMessageRow(const SampleMessage& message);
    void addAttachments(const SampleMessage& message);

    Insert m_handles;
    Insert m_chats;
    Insert m_chatHandles;
    Insert m_messages;
    Insert m_chatMessages;
    Insert m_attachments;
    Insert m_messageAttachments;
    std::int64_t m_attachmentCount = 0;
};

} // namespace korvane::sample
