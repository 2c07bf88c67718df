#include "check/KeptRecords.h"

#include "export/KeptFiles.h"
#include "export/Record.h"
#include "storage/Folder.h"

#include <optional>
#include <string_view>
#include <system_error>

namespace korvane {

namespace fs = std::filesystem;

namespace {

std::optional<Folder> openKept(const fs::path& exportFolder, KeptRecords& kept)
{
    try {
        return Folder::open(exportFolder / KeptFiles::folderName);
    } catch (const std::system_error& error) {
        kept.errors.push_back("Kept: " + error.code().message());
        return std::nullopt;
    }
}

bool countRecordsOf(
    const std::optional<FileReader>& file, KeptRecords& kept, const std::function<void()>& onLine)
{
    return file && forEachLine(*file, [&](std::string_view line, bool /*hasLineFeed*/) {
        onLine();
        Record::forEachInLine(
            line, [&kept](const Record& record) { kept.byChat[record.conversationID] += 1; });
    });
}

} // namespace

KeptRecords keptRecords(const fs::path& exportFolder, const std::function<void()>& onLine)
{
    KeptRecords kept;
    const auto folder = openKept(exportFolder, kept);
    for (const std::string& name : folder ? folder->names() : std::vector<std::string>()) {
        if (KeptFiles::isName(name) && !countRecordsOf(folder->file(name), kept, onLine))
            kept.errors.push_back("Kept/" + name + ": The file can't be read.");
    }
    return kept;
}

} // namespace korvane
