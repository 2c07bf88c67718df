#pragma once

#include "export/DateText.h"
#include "messages/MessageTypes.h"

#include <functional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace korvane {

struct ContactNames;

/// Writes the messages of one chat as records in the format of an export file:
///
/// Each line is one compact JSON object (RFC 8259) in UTF-8, followed by one line feed. The keys
/// are ordered by character code; "/" is not escaped. Keys marked with ? are omitted if the row has
/// no value:
///
///     attachmentCount   1 if the message claims attachments, otherwise 0
///     body              the text as read, "" if none
///     conversationID    the chat's guid
///     conversationName  the chat's title
///     date              UTC, "2023-12-31T23:00:00.500Z"
///     id                "mac:" + guid of the chat + ":" + row id of the message
///     isOutgoing        whether the user wrote it
///     photoCount?       the number of images among its attachments
///     reactionKind?     love, like, dislike, laugh, emphasize or question
///     reactionTargetID? the id of the record that the reaction refers to
///     recordKind?       message, reaction, reaction-removal or system
///     replyToID?        the id of the record that began the thread
///     sender            "Me", a contact's name, or the handle
///     senderID?         "messages:self", or "messages:handle:" + the handle
///     textUnavailable   whether the text is empty or only white space
///
/// A reader finds the target of a reaction or reply by comparing ids as strings. Text that is the
/// same for the whole chat or for one sender is escaped once and then copied. Used by one thread at
/// a time.
class RecordWriter {
public:
    /// `names` must outlive this object.
    RecordWriter(const ChatInfo& chat, std::string_view title, const ContactNames& names);

    /// Appends the record of `row`, including its line feed, to `out`.
    void append(const MessageRowView& row, std::string& out);

private:
    struct TextHash : std::hash<std::string_view> {
        using is_transparent = void;
    };

    /// The escaped members `,"sender":…` and, if the row has a sender ID, `,"senderID":…`.
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
