#pragma once

#include <QStringList>

#include <map>
#include <string>

namespace korvane {

/// Writes a phone's backup with make_backup.py into `folder`, which must not exist, and returns the
/// folder. `options` are those of the script. Throws std::runtime_error if it fails.
std::string makeBackup(
    const std::string& folder, const std::string& database, const QStringList& options = {});

/// What can be told of a folder without opening its files for writing: for each path in it, its
/// kind, permissions, size, time of change and contents. The folder itself has the path "".
std::map<std::string, std::string> pictureOf(const std::string& folder);

} // namespace korvane
