#pragma once

#include "check/RecordCounts.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace korvane {

class FileReader;
struct Record;

/// Passes each record that the database has for a chat to a visitor: its row id and its line,
/// without the line feed, valid until the visitor returns. Can be called again.
using ExpectedLineVisitor = std::function<void(std::int64_t rowID, std::string_view line)>;
using ExpectedLines = std::function<void(const ExpectedLineVisitor&)>;

/// What is compared. A plain value.
struct FileCheck {
    std::string guid; ///< of the chat
    const FileReader* file = nullptr; ///< null if the chat has no file
    ExpectedLines expected;
    std::size_t expectedCount = 0; ///< about how many; saves memory if it is right
    /// The last exported row. Absent if the state does not know the chat: then everything up to
    /// the highest row id of the file counts as exported.
    std::optional<std::int64_t> lastRowID;
    /// Whether the row id of a record that the chat does not have belongs to another message.
    /// Absent: never.
    std::function<bool(std::int64_t rowID, const Record& record)> isAnother;
    std::function<void()> onLine; ///< called for each line of the file; may throw to end the check
};

/// Compares a chat's file with the records that the database has. One pass over both is enough for
/// a file without differences. Lines that differ are parsed, and compared with the database in a
/// second pass.
///
/// A line is torn if it is not a complete record with its line feed. So a record that lost its line
/// feed is torn, and missing: the next export would write the next record into the same line.
///
/// Throws std::runtime_error if the file cannot be read, and what `expected` and `onLine` throw.
RecordCounts countRecords(const FileCheck& check);

} // namespace korvane
