#pragma once

#include <optional>
#include <string>

namespace korvane {

struct Console;

struct BackupsOptions {
    std::optional<std::string> folder; ///< absent: the usual places
    bool json = false;
};

/// Lists the backups of phones in a folder, the newest first. Needs no password. Throws
/// BackupError.
int runBackups(const BackupsOptions& options, const Console& console);

} // namespace korvane
