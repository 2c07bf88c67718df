#include "export/ExportStep.h"

#include "export/FileName.h"
#include "export/KeptFiles.h"
#include "messages/MessageTypes.h"

#include <QUuid>

#include <system_error>

namespace korvane {

namespace fs = std::filesystem;

namespace {

std::string newEpoch()
{
    return QUuid::createUuid().toString(QUuid::WithoutBraces).toUpper().toStdString();
}

ChatState newRecord(const ChatInfo& chat, const std::string& title)
{
    return {
        .lastRowID = 0,
        .fileName = Exporter::exportFileName(title, chat.id),
        .title = title,
        .messages = 0,
        .epoch = newEpoch(),
        .formatVersion = currentFormatVersion,
    };
}

/// The chat's record from an earlier run. Null if there is none in the current format version.
const ChatState* knownRecord(const ExportState& state, const ChatInfo& chat)
{
    const auto known = state.chats.find(chat.guid);
    const bool current
        = known != state.chats.end() && known->second.formatVersion == currentFormatVersion;
    return current ? &known->second : nullptr;
}

bool isTooLong(const fs::path& file)
{
    std::error_code error;
    return !fs::exists(file, error) && error == std::errc::filename_too_long;
}

/// Fills in what is needed to undo a change of this file.
void describe(ExportStep& step, const fs::path& file)
{
    std::error_code ignored;
    const bool isLink = fs::is_symlink(fs::symlink_status(file, ignored));
    const bool isRegular = fs::is_regular_file(file, ignored);
    const bool exists = fs::exists(file, ignored);
    step.replaces = step.restarts && (isLink || exists);
    if (exists && !(step.restarts && (isLink || !isRegular)))
        step.change.size = isRegular ? fs::file_size(file) : 0;
}

void restart(ChatState& record)
{
    record.lastRowID = 0;
    record.messages = 0;
    record.epoch = newEpoch();
}

} // namespace

ExportStep exportStep(const ChatInfo& chat, const std::string& title, const ExportState& state,
    const fs::path& folder, bool restarting)
{
    const ChatState* const known = knownRecord(state, chat);
    ExportStep step{.record = known ? *known : newRecord(chat, title)};
    ChatState& record = step.record;
    const bool isShortened = isTooLong(folder / record.fileName);
    step.change.file = isShortened ? Exporter::shortenedFileName(title, chat.id) : record.fileName;

    const fs::path file = folder / step.change.file;
    std::error_code ignored;
    step.restarts = restarting || record.title != title || !fs::exists(file, ignored)
        || (known && isShortened); // under the name in the record, there can be no file
    describe(step, file);
    if (step.restarts && step.change.size) // a link is removed, not kept: its target stays
        step.change.keptAs = KeptFiles::freeName(
            folder, record.title.value_or(title), chat.id, record.epoch.value_or(""));
    if (step.restarts)
        restart(record);
    record.title = title;
    return step;
}

} // namespace korvane
