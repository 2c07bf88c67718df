#include "export/RecordBlocks.h"

#include "export/RecordWriter.h"
#include "messages/MessagesDB.h"

#include <algorithm>
#include <utility>

namespace korvane {

void forEachRecordBlock(MessagesDB& db, const ChatInfo& chat, std::string_view title,
    const ContactNames& names, std::int64_t afterRowID, const BlockVisitor& visit)
{
    constexpr std::size_t blockSize = std::size_t{256} * 1024;
    RecordWriter writer(chat, title, names);
    RecordBlock block{.highestRowID = afterRowID};
    db.forEachMessage(chat.id, afterRowID, [&](const MessageRowView& row) {
        writer.append(row, block.lines);
        block.records += 1;
        block.highestRowID = std::max(block.highestRowID, row.rowID);
        if (block.lines.size() >= blockSize) {
            visit(std::exchange(block, {.highestRowID = afterRowID}));
            block.lines.reserve(blockSize + blockSize / 16); // the chat is large
        }
    });
    if (block.records > 0)
        visit(std::move(block));
}

} // namespace korvane
