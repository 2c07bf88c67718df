#pragma once

#include "backup/Backup.h"

#include <filesystem>
#include <vector>

namespace korvane {

/// The backup in `folder`, if it is the folder of one, otherwise those in its subfolders, the
/// newest first. Throws BackupError if the folder cannot be read.
std::vector<Backup> backupsIn(const std::filesystem::path& folder);

/// The folders in which programs usually put backups, whether or not they exist.
std::vector<std::filesystem::path> usualBackupFolders();

} // namespace korvane
