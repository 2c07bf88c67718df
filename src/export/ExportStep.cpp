#include "export/ExportStep.h"

#include "export/FileName.h"
#include "export/KeptFiles.h"
#include "messages/MessageTypes.h"
#include "storage/FileReader.h"

#include <QUuid>

#include <cstdint>
#include <optional>
#include <system_error>
#include <utility>

namespace korvane {

namespace fs = std::filesystem;

namespace {

std::string newEpoch()
{
    return QUuid::createUuid().toString(QUuid::WithoutBraces).toUpper().toStdString();
}

std::string newFileName(
    const ChatInfo& chat, const std::string& title, const ExportState& state, const SyncMode& mode)
{
    const auto stray = mode.files.find(chat.guid);
    const bool isStray = stray != mode.files.end() && !state.chats.contains(chat.guid);
    return isStray ? stray->second : Exporter::exportFileName(title, chat.id);
}

/// The name for a chat whose usual one is that of another chat's file. That happens on a new Mac,
/// where a chat can have the title and the number that another chat had before.
std::string unusedFileName(const ChatInfo& chat, const std::string& title, const ExportState& state)
{
    std::string name;
    int copy = 2;
    do
        name = Exporter::exportFileName(title, chat.id, copy++);
    while (state.isNameOfAnother(chat.guid, name));
    return name;
}

ChatState newRecord(std::string fileName, const std::string& title)
{
    return {
        .lastRowID = 0,
        .fileName = std::move(fileName),
        .title = title,
        .messages = 0,
        .epoch = newEpoch(),
        .formatVersion = currentFormatVersion,
    };
}

/// What has a name in the export folder.
struct Found {
    bool exists = false; ///< a symbolic link without a target does not
    bool isLink = false;
    bool isTooLong = false; ///< the file system rejects the name
    std::optional<std::uintmax_t> size; ///< of a regular file, or of one that a link names
};

/// Throws std::system_error if it cannot be told what is there: a file that a network drive does
/// not show for a moment is not missing.
Found find(const fs::path& file)
{
    if (const auto regular = RegularFile::at(file)) // nearly always, and one system call
        return {.exists = true, .size = static_cast<std::uintmax_t>(regular->size)};
    std::error_code error;
    const fs::file_status entry = fs::symlink_status(file, error);
    Found found{.isTooLong = error == std::errc::filename_too_long};
    if (entry.type() == fs::file_type::none && !found.isTooLong)
        throw std::system_error(error);
    found.isLink = fs::is_symlink(entry);
    const fs::file_status target = found.isLink ? fs::status(file, error) : entry;
    found.exists = fs::exists(target);
    if (fs::is_regular_file(target))
        found.size = fs::file_size(file);
    return found;
}

void restart(ChatState& record)
{
    record.lastRowID = 0;
    record.messages = 0;
    record.epoch = newEpoch();
}

} // namespace

ExportStep exportStep(const ChatInfo& chat, const std::string& title, const ExportState& state,
    const fs::path& folder, const SyncMode& mode)
{
    const ChatState* const known = state.current(chat.guid);
    ExportStep step{
        .record = known ? *known : newRecord(newFileName(chat, title, state, mode), title)};
    ChatState& record = step.record;
    Found found = find(Exporter::inFolder(folder, record.fileName));
    if (!known && found.exists && state.isNameOfAnother(chat.guid, record.fileName)) {
        record.fileName = unusedFileName(chat, title, state);
        found = find(Exporter::inFolder(folder, record.fileName));
    }
    step.change.file = record.fileName;
    const bool isShortened = found.isTooLong;
    if (isShortened) {
        step.change.file = Exporter::shortenedFileName(title, chat.id);
        found = find(Exporter::inFolder(folder, step.change.file));
    }

    step.restarts = mode.restart.contains(chat.guid) || record.title != title || !found.exists
        || (known && isShortened); // under the name in the record, there can be no file
    step.replaces = step.restarts && (found.exists || found.isLink);
    if (!step.restarts) {
        step.change.size = found.size.value_or(0);
    } else if (found.size && !found.isLink) { // a link is removed, not kept: its target stays
        step.change.size = found.size;
        step.change.keptAs = KeptFiles::freeName(
            folder, record.title.value_or(title), chat.id, record.epoch.value_or(""));
    }
    if (step.restarts)
        restart(record);
    record.title = title;
    return step;
}

} // namespace korvane
