#pragma once

#include "export/Record.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace korvane {

/// The members of a record in the form in which an export writes it: the keys in their order, no
/// blanks, no unknown keys, and only the escapes that are needed. Texts are still escaped. This
/// form has one spelling for each text, so escaped texts can be compared as they are. The views
/// refer to the line. Reading it so takes a fraction of the time of parsing any JSON.
struct RecordLine {
    std::int64_t attachmentCount = 0;
    std::string_view body{};
    std::string_view conversationID{};
    std::string_view conversationName{};
    std::string_view date{};
    std::string_view id{};
    bool isOutgoing = false;
    std::optional<std::int64_t> photoCount{};
    std::optional<std::string_view> reactionKind{};
    std::optional<std::string_view> reactionTargetID{};
    std::optional<std::string_view> recordKind{};
    std::optional<std::string_view> replyToID{};
    std::string_view sender{};
    std::optional<std::string_view> senderID{};
    bool textUnavailable = false;

    /// Nothing if `line` does not have this form. It can be a record all the same: see
    /// Record::fromLine().
    static std::optional<RecordLine> from(std::string_view line);

    /// The texts without their escapes.
    Record record() const;
};

/// A record in this form, without a line feed.
std::string lineOf(const Record& record);

} // namespace korvane
