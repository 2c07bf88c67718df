#pragma once

#include "export/Record.h"
#include "reader/RecordLine.h"

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>

namespace korvane {

/// A record of the chat "c" with the title "Team", sent by Ann at 12:00:00 UTC plus one second for
/// each row, on 2024-05-06.
inline Record message(std::int64_t row, const std::string& body = "hello")
{
    const auto twoDigits = [](std::int64_t number) {
        return std::string(number < 10 ? "0" : "") + std::to_string(number);
    };
    return {
        .body = body,
        .conversationID = "c",
        .conversationName = "Team",
        .date = "2024-05-06T12:" + twoDigits(row / 60) + ':' + twoDigits(row % 60) + ".000Z",
        .id = "mac:c:" + std::to_string(row),
        .recordKind = "message",
        .sender = "Ann",
        .senderID = "messages:handle:+1202",
        .textUnavailable = body.empty(),
    };
}

inline Record reply(std::int64_t row, std::int64_t target, const std::string& body = "yes")
{
    Record record = message(row, body);
    record.replyToID = "mac:c:" + std::to_string(target);
    return record;
}

inline Record reaction(std::int64_t row, std::int64_t target, const std::string& kind = "love")
{
    Record record = message(row, "Loved “hello”");
    record.recordKind = "reaction";
    record.reactionKind = kind;
    record.reactionTargetID = "mac:c:" + std::to_string(target);
    return record;
}

inline Record removal(std::int64_t row, std::int64_t target, const std::string& kind = "love")
{
    Record record = reaction(row, target, kind);
    record.recordKind = "reaction-removal";
    return record;
}

inline Record systemLine(std::int64_t row, const std::string& body = "Ann named the chat")
{
    Record record = message(row, body);
    record.recordKind = "system";
    return record;
}

/// The same, but written by the user.
inline Record fromMe(Record record)
{
    record.isOutgoing = true;
    record.sender = "Me";
    record.senderID = "messages:self";
    return record;
}

inline Record fromSender(Record record, const std::string& name, const std::string& handle)
{
    record.sender = name;
    record.senderID = "messages:handle:" + handle;
    return record;
}

/// The lines of an export file.
inline std::string linesOf(const std::vector<Record>& records)
{
    std::string lines;
    for (const Record& record : records)
        lines += lineOf(record) + '\n';
    return lines;
}

inline void writeBytes(const std::filesystem::path& file, std::string_view bytes)
{
    std::filesystem::create_directories(file.parent_path());
    std::ofstream(file, std::ios::binary) << bytes;
}

} // namespace korvane
