#include "backup/BackupList.h"
#include "storage/Paths.h"

namespace korvane {

/// Where Finder puts them.
std::vector<std::filesystem::path> usualBackupFolders()
{
    return {Paths::applicationData() / "MobileSync/Backup"};
}

} // namespace korvane
