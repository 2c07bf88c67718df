#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

namespace korvane {

class MessagesDB;
struct ChatInfo;
struct ContactNames;

/// Some records of one chat, as the bytes that an export file gets.
struct RecordBlock {
    std::string lines; ///< complete lines, each with its line feed
    std::int64_t records = 0; ///< at least 1
    std::int64_t highestRowID = 0; ///< of these records
};

using BlockVisitor = std::function<void(RecordBlock)>;

/// Reads the messages of a chat with a row id greater than `afterRowID` and passes their records to
/// `visit`, in the order of the file. A block has about 256 KiB, or less at the end. Passes nothing
/// if there are no such messages. Throws as MessagesDB::forEachMessage() does.
void forEachRecordBlock(MessagesDB& db, const ChatInfo& chat, std::string_view title,
    const ContactNames& names, std::int64_t afterRowID, const BlockVisitor& visit);

} // namespace korvane
