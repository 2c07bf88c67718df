#include "backup/BackupList.h"

#include "backup/BackupError.h"

#include <algorithm>
#include <string>
#include <system_error>

namespace korvane {

namespace fs = std::filesystem;

namespace {

std::vector<fs::path> subfoldersOf(const fs::path& folder)
{
    std::error_code failure;
    std::vector<fs::path> subfolders;
    for (fs::directory_iterator item(folder, failure), end; !failure && item != end;
         item.increment(failure))
        subfolders.push_back(item->path());
    if (failure)
        throw BackupError(
            folder.string() + ": This folder cannot be read (" + failure.message() + ").");
    return subfolders;
}

/// Those without a date come last; equal ones are in the order of their folders.
bool isNewer(const Backup& one, const Backup& other)
{
    return one.date == other.date ? one.folder < other.folder : one.date > other.date;
}

} // namespace

std::vector<Backup> backupsIn(const fs::path& folder)
{
    if (Backup::isAt(folder))
        return {Backup::read(folder)};
    std::vector<Backup> backups;
    for (const fs::path& subfolder : subfoldersOf(folder)) {
        if (Backup::isAt(subfolder))
            backups.push_back(Backup::read(subfolder));
    }
    std::sort(backups.begin(), backups.end(), isNewer);
    return backups;
}

} // namespace korvane
