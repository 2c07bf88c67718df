#include "backup/BackupList.h"

#include "backup/BackupError.h"

#include <algorithm>
#include <string>
#include <system_error>

namespace korvane {

namespace fs = std::filesystem;

namespace {

[[noreturn]] void throwUnreadable(const fs::path& folder, const std::error_code& failure)
{
    throw BackupError(
        folder.string() + ": This folder cannot be read (" + failure.message() + ").");
}

std::vector<fs::path> subfoldersOf(const fs::path& folder)
{
    std::error_code failure;
    std::vector<fs::path> subfolders;
    for (fs::directory_iterator item(folder, failure), end; !failure && item != end;
         item.increment(failure))
        subfolders.push_back(item->path());
    if (failure)
        throwUnreadable(folder, failure);
    return subfolders;
}

/// Throws BackupError if it cannot be told whether there is a backup in the folder.
void verifyAccess(const fs::path& folder)
{
    std::error_code failure;
    if (!fs::exists(folder / "Manifest.plist", failure) && failure == std::errc::permission_denied)
        throwUnreadable(folder, failure);
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
    const std::vector<fs::path> subfolders = subfoldersOf(folder);
    for (const fs::path& subfolder : subfolders) {
        if (Backup::isAt(subfolder))
            backups.push_back(Backup::read(subfolder));
    }
    if (backups.empty())
        std::ranges::for_each(subfolders, verifyAccess);
    std::sort(backups.begin(), backups.end(), isNewer);
    return backups;
}

} // namespace korvane
