#pragma once

#include "messages/Timestamp.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace korvane {

/// One message. `Text` is std::string for a row to keep, std::string_view for a row that lives
/// until the reader goes on to the next one.
template <typename Text>
struct BasicMessageRow {
    std::int64_t rowID = 0;
    ReferenceTime date{};
    bool fromMe = false;
    std::optional<Text> handle; ///< the other side's number or address, as stored
    Text text{}; ///< valid UTF-8, may be ""
    int attachmentCount = 0; ///< a flag: 1 when the message claims attachments
    std::optional<Text> senderID; ///< "messages:self" or "messages:handle:" and the handle
    std::optional<int> photoCount; ///< absent where it cannot be told
    std::optional<std::string_view> recordKind; ///< a constant: "message", "reaction", …
    std::optional<std::string_view> reactionKind; ///< a constant: "love", "like", …
    std::optional<std::int64_t> reactionTargetRowID; ///< for reactions, within the same chat
    std::optional<std::int64_t> replyToRowID; ///< for the others, within the same chat

    bool operator==(const BasicMessageRow&) const = default;
};

using MessageRow = BasicMessageRow<std::string>;
using MessageRowView = BasicMessageRow<std::string_view>;

} // namespace korvane
