#include "export/Record.h"

#include "storage/FileReader.h"
#include "text/JsonReader.h"
#include "text/Utf8.h"

#include <charconv>
#include <utility>

namespace korvane {

namespace {

using JsonReader::integer;
using JsonReader::Malformed;
using JsonReader::optional;
using JsonReader::required;
using JsonReader::text;

bool boolean(const JsonReader::Value& value)
{
    return value.IsBool() ? value.GetBool() : throw Malformed();
}

Record recordFrom(const JsonReader::Value& json)
{
    return {
        .attachmentCount = integer(required(json, "attachmentCount")),
        .body = text(required(json, "body")),
        .conversationID = text(required(json, "conversationID")),
        .conversationName = text(required(json, "conversationName")),
        .date = text(required(json, "date")),
        .id = text(required(json, "id")),
        .isOutgoing = boolean(required(json, "isOutgoing")),
        .photoCount = optional(json, "photoCount", integer),
        .reactionKind = optional(json, "reactionKind", text),
        .reactionTargetID = optional(json, "reactionTargetID", text),
        .recordKind = optional(json, "recordKind", text),
        .replyToID = optional(json, "replyToID", text),
        .sender = text(required(json, "sender")),
        .senderID = optional(json, "senderID", text),
        .textUnavailable = boolean(required(json, "textUnavailable")),
    };
}

/// Cannot be part of a text: there, the quotation marks would be escaped.
constexpr std::string_view beginOfRecord = R"({"attachmentCount":)";

} // namespace

std::optional<Record> Record::fromLine(std::string_view line)
{
    if (!isValidUtf8(line))
        return std::nullopt;
    try {
        const auto json = JsonReader::parsed(line);
        return recordFrom(JsonReader::object(json));
    } catch (const Malformed&) {
        return std::nullopt;
    }
}

std::optional<Record> Record::fromLineWithTornStart(std::string_view line)
{
    const auto start = line.rfind(beginOfRecord);
    auto whole = fromLine(line);
    const bool isTorn = !whole && start != line.npos && start > 0;
    return isTorn ? fromLine(line.substr(start)) : std::move(whole);
}

void Record::forEachInLine(std::string_view line, const std::function<void(const Record&)>& visit)
{
    if (const auto whole = fromLine(line))
        return visit(*whole);
    for (auto start = line.find(beginOfRecord); start != line.npos;) {
        const auto next = line.find(beginOfRecord, start + 1);
        if (const auto record = fromLine(line.substr(start, next - start)))
            visit(*record);
        start = next;
    }
}

std::optional<std::int64_t> Record::rowID() const
{
    const std::string prefix = "mac:" + conversationID + ":";
    std::int64_t number = 0;
    const char* const end = id.data() + id.size();
    if (!id.starts_with(prefix))
        return std::nullopt;
    const auto [last, error] = std::from_chars(id.data() + prefix.size(), end, number);
    return error == std::errc() && last == end ? std::optional(number) : std::nullopt;
}

bool forEachLine(const FileReader& file,
    const std::function<void(std::string_view line, bool hasLineFeed)>& visit)
{
    constexpr std::size_t blockSize = std::size_t{256} * 1024;
    std::string block(blockSize, '\0');
    std::string begun; // a line whose end is in a later block
    for (std::int64_t offset = 0;;) {
        const auto count = file.readAt(offset, block);
        if (!count)
            return false;
        std::string_view rest = std::string_view(block).substr(0, *count);
        for (auto end = rest.find('\n'); end != rest.npos; end = rest.find('\n')) {
            const std::string_view tail = rest.substr(0, end);
            visit(begun.empty() ? tail : begun.append(tail), true);
            begun.clear();
            rest.remove_prefix(end + 1);
        }
        begun.append(rest);
        offset += static_cast<std::int64_t>(*count);
        if (*count < blockSize)
            break;
    }
    if (!begun.empty())
        visit(begun, false);
    return true;
}

} // namespace korvane
