#include "sample/SampleTables.h"

#include "sample/AttributedBody.h"

namespace korvane::sample {

namespace {

constexpr std::int64_t groupStyle = 43;
constexpr std::int64_t directStyle = 45;
constexpr std::string_view ownAccount = "E:me@example.com";

std::int64_t rowOf(std::size_t index)
{
    return static_cast<std::int64_t>(index) + 1;
}

std::optional<std::string_view> nullIfEmpty(std::string_view text)
{
    return text.empty() ? std::nullopt : std::optional(text);
}

} // namespace

SampleTables::SampleTables(Sqlite& connection)
    : m_handles(connection, "handle (ROWID, id, service, uncanonicalized_id)")
    , m_chats(connection,
          "chat (ROWID, guid, style, chat_identifier, service_name, room_name, display_name,"
          " account_login)")
    , m_chatHandles(connection, "chat_handle_join (chat_id, handle_id)")
    , m_messages(connection,
          "message (ROWID, guid, text, attributedBody, handle_id, service, date, date_delivered,"
          " date_read, is_from_me, is_sent, is_read, cache_has_attachments, cache_roomnames,"
          " item_type, group_title, associated_message_guid, associated_message_type,"
          " thread_originator_guid, thread_originator_part)")
    , m_chatMessages(connection, "chat_message_join (chat_id, message_id, message_date)")
    , m_attachments(connection,
          "attachment (ROWID, guid, created_date, filename, mime_type, is_outgoing,"
          " transfer_name, total_bytes)")
    , m_messageAttachments(connection, "message_attachment_join (message_id, attachment_id)")
{
}

void SampleTables::addPeople(const SamplePeople& people)
{
    for (std::size_t index = 0; index < people.handles.size(); ++index) {
        const Handle& handle = people.handles[index];
        m_handles(rowOf(index), handle.id, handle.service, handle.id);
    }
    for (std::size_t index = 0; index < people.chats.size(); ++index)
        addChat(rowOf(index), people.chats[index]);
}

void SampleTables::finish()
{
    for (Insert* table : {&m_handles, &m_chats, &m_chatHandles, &m_messages, &m_chatMessages,
             &m_attachments, &m_messageAttachments})
        table->finish();
}

void SampleTables::addChat(std::int64_t chatID, const Chat& chat)
{
    m_chats(chatID, chat.guid, chat.isGroup ? groupStyle : directStyle, chat.identifier,
        chat.service, nullIfEmpty(chat.isGroup ? chat.identifier : std::string_view()),
        nullIfEmpty(chat.displayName), ownAccount);
    for (const std::size_t member : chat.members)
        m_chatHandles(chatID, rowOf(member));
}

void SampleTables::addMessage(const SampleMessage& message)
{
    addMessageRow(message);
    if (message.turn.chat)
        m_chatMessages(rowOf(*message.turn.chat), message.row, message.date);
    if (message.turn.secondChat)
        m_chatMessages(rowOf(*message.turn.secondChat), message.row, message.date);
    addAttachments(message);
}

void SampleTables::addMessageRow(const SampleMessage& message)
{
    std::optional<std::string_view> plainText;
    std::optional<Bytes> attributedBody;
    std::string archive;
    if (message.textIsPlain) {
        plainText = nullIfEmpty(message.text);
    } else if (!message.text.empty()) {
        archive = encodeAttributedBody(message.text);
        attributedBody = Bytes{archive};
    }
    const bool isReply = !message.threadOriginatorGuid.empty();
    m_messages(message.row, message.guid, plainText, attributedBody,
        message.handle ? rowOf(*message.handle) : 0, message.service, message.date,
        message.dateDelivered, message.dateRead, message.fromMe, message.fromMe, !message.fromMe,
        message.hasAttachments, nullIfEmpty(message.roomName), message.itemType,
        nullIfEmpty(message.groupTitle), nullIfEmpty(message.associatedGuid),
        message.associatedType, nullIfEmpty(message.threadOriginatorGuid),
        nullIfEmpty(isReply ? "0:0:1" : ""));
}

void SampleTables::addAttachments(const SampleMessage& message)
{
    for (const SampleAttachment& attachment : message.attachments) {
        m_attachments(++m_attachmentCount, attachment.guid, message.date, attachment.filename,
            attachment.mimeType, message.fromMe, attachment.transferName, attachment.totalBytes);
        if (message.attachmentsAreJoined)
            m_messageAttachments(message.row, m_attachmentCount);
    }
}

} // namespace korvane::sample
