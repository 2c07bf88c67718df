#include "check/Difference.h"

#include "export/DateText.h"
#include "export/Record.h"

#include <cstdint>
#include <optional>
#include <string_view>
#include <tuple>

namespace korvane {

namespace {

/// A date that cannot be read was damaged. It says nothing about the database.
bool areFarApart(std::string_view one, std::string_view other)
{
    const auto first = DateText::read(one);
    const auto second = DateText::read(other);
    return first && second && !DateText::areClose(*first, *second);
}

bool isForeign(const Record& inFile, const Record& inDatabase)
{
    const auto identity = [](const Record& record) {
        return std::tie(record.senderID, record.isOutgoing, record.body);
    };
    return areFarApart(inFile.date, inDatabase.date) && identity(inFile) != identity(inDatabase);
}

template <typename Value>
bool agrees(const std::optional<Value>& inFile, const std::optional<Value>& inDatabase)
{
    return inFile == inDatabase || !inDatabase;
}

bool countAgrees(std::int64_t inFile, std::int64_t inDatabase)
{
    return inFile == inDatabase || inDatabase == 0;
}

bool photosAgree(const Record& inFile, const Record& inDatabase)
{
    return agrees(inFile.photoCount, inDatabase.photoCount)
        || (inFile.photoCount && inDatabase.photoCount == 0);
}

bool isChanged(const Record& inFile, const Record& inDatabase)
{
    const auto content = [](const Record& record) {
        return std::tie(record.body, record.conversationID, record.date, record.isOutgoing,
            record.reactionKind, record.recordKind, record.senderID, record.textUnavailable);
    };
    return content(inFile) != content(inDatabase)
        || !countAgrees(inFile.attachmentCount, inDatabase.attachmentCount)
        || !photosAgree(inFile, inDatabase)
        || !agrees(inFile.reactionTargetID, inDatabase.reactionTargetID)
        || !agrees(inFile.replyToID, inDatabase.replyToID);
}

bool isRenamed(const Record& inFile, const Record& inDatabase)
{
    return inFile.sender != inDatabase.sender
        || inFile.conversationName != inDatabase.conversationName;
}

} // namespace

Difference differenceOf(const Record& inFile, const Record& inDatabase)
{
    if (isForeign(inFile, inDatabase))
        return Difference::Foreign;
    if (isChanged(inFile, inDatabase))
        return Difference::Changed;
    return isRenamed(inFile, inDatabase) ? Difference::Renamed : Difference::None;
}

} // namespace korvane
