#include "backup/BackupList.h"
#include "storage/Paths.h"

namespace korvane {

/// No program has a usual place: idevicebackup2 writes where it is told. The first is the one that
/// docs/iphone.md suggests, and the one of a home folder that was moved from a Mac.
std::vector<std::filesystem::path> usualBackupFolders()
{
    return {
        Paths::home() / "iPhone", Paths::home() / "Library/Application Support/MobileSync/Backup"};
}

} // namespace korvane
