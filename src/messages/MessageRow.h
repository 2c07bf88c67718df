#pragma once

#include "messages/Timestamp.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace korvane {

/// One message. With `Text` = std::string the row owns its texts. With std::string_view it refers
/// to the reader's memory and is valid until the reader moves to the next row.
template <typename Text>
struct BasicMessageRow {
    std::int64_t rowID = 0;
    ReferenceTime date{};
    bool fromMe = false;
    std::optional<Text> handle; ///< the other party's phone number or address, as stored
    Text text{}; ///< valid UTF-8, possibly empty
    int attachmentCount = 0; ///< a flag, not a count: 1 if the message claims attachments
    std::optional<Text> senderID; ///< "messages:self", or "messages:handle:" + the handle
    std::optional<int> photoCount; ///< absent if unknown
    std::optional<std::string_view> recordKind; ///< a literal: "message", "reaction", …
    std::optional<std::string_view> reactionKind; ///< a literal: "love", "like", …
    std::optional<std::int64_t> reactionTargetRowID; ///< reactions only; in the same chat
    std::optional<std::int64_t> replyToRowID; ///< other records only; in the same chat

    bool operator==(const BasicMessageRow&) const = default;
};

using MessageRow = BasicMessageRow<std::string>;
using MessageRowView = BasicMessageRow<std::string_view>;

} // namespace korvane
