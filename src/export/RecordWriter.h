#pragma once

#include "contacts/ContactNames.h"
#include "export/DateText.h"
#include "messages/ChatInfo.h"
#include "messages/MessageRow.h"

#include <string>
#include <string_view>
#include <unordered_map>

namespace korvane {

/// Writes the messages of one chat as records, the format of an export file:
///
/// One JSON object (RFC 8259) a line, in UTF-8, compact, the keys in the order of their character
/// codes, "/" not escaped, each line ended by one line feed. The keys, of which those marked with
/// ? are left out where the row has no value:
///
///     attachmentCount   1 where the message claims attachments, otherwise 0
///     body              the text as it was read, "" without
///     conversationID    the chat's guid
///     conversationName  the chat's title
///     date              UTC, "2023-12-31T23:00:00.500Z"
///     id                "mac:" guid of the chat ":" row id of the message
///     isOutgoing        whether the user wrote it
///     photoCount?       the images among its attachments
///     reactionKind?     love, like, dislike, laugh, emphasize or question
///     reactionTargetID? the id of the record that is reacted to
///     recordKind?       message, reaction, reaction-removal or system
///     replyToID?        the id of the record that began the thread
///     sender            "Me", a contact's name, or the bare handle
///     senderID?         "messages:self" or "messages:handle:" and the handle
///     textUnavailable   whether the text is empty but for white space
///
/// A reader finds a reaction's or reply's target by comparing ids as they stand. What is the same
/// for the whole chat or for one sender is escaped once. Used by one thread at a time.
class RecordWriter {
public:
    RecordWriter(const ChatInfo& chat, std::string_view title, const ContactNames& names);

    /// Appends the record of `row`, with its line feed, to `out`.
    void append(const MessageRowView& row, std::string& out);

private:
    struct TextHash : std::hash<std::string_view> {
        using is_transparent = void;
    };

    /// `,"sender":…` and where there is one `,"senderID":…`, ready to be copied.
    const std::string& senderMembers(const MessageRowView& row);
    const std::string& knownHandle(std::string_view handle, std::string_view senderID);

    const ContactNames& m_names;
    const std::string m_conversation;
    const std::string m_idPrefix;
    const std::string m_ownMembers;
    const std::string m_membersWithoutHandle;
    std::unordered_map<std::string, std::string, TextHash, std::equal_to<>> m_handleMembers;
    DateText m_dates;
};

} // namespace korvane
