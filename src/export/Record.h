#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace korvane {

class FileReader;

/// One record of an export file, read back. The members are the keys that RecordWriter describes,
/// with the same names.
struct Record {
    std::int64_t attachmentCount = 0;
    std::string body;
    std::string conversationID;
    std::string conversationName;
    std::string date;
    std::string id;
    bool isOutgoing = false;
    std::optional<std::int64_t> photoCount;
    std::optional<std::string> reactionKind;
    std::optional<std::string> reactionTargetID;
    std::optional<std::string> recordKind;
    std::optional<std::string> replyToID;
    std::string sender;
    std::optional<std::string> senderID;
    bool textUnavailable = false;

    bool operator==(const Record&) const = default;

    /// Reads a line without its line feed. Nothing if it is not a complete record: it was torn by a
    /// crash or changed by something else. Ignores unknown keys.
    static std::optional<Record> fromLine(std::string_view line);

    /// The same, but of a line that begins with the torn end of an earlier record, which was
    /// appended to without a line feed, reads the complete record at its end.
    static std::optional<Record> fromLineWithTornStart(std::string_view line);

    /// Passes each complete record in a line to `visit`. A line has several, or torn ones beside
    /// them, if a file lost its end and was then appended to.
    static void forEachInLine(
        std::string_view line, const std::function<void(const Record&)>& visit);

    /// The message's row id, from the end of `id`. Nothing if `id` does not belong to the chat
    /// `conversationID` or has no number.
    std::optional<std::int64_t> rowID() const;
};

/// Passes each line of an export file to `visit`, without its line feed. The last line may be torn:
/// `hasLineFeed` is false if the file ends without a line feed. The view is valid until `visit`
/// returns. Reads the file in blocks; memory is bounded by the longest line. Returns false on a
/// read error.
bool forEachLine(const FileReader& file,
    const std::function<void(std::string_view line, bool hasLineFeed)>& visit);

} // namespace korvane
