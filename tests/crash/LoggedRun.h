#pragma once

#include "crash/Disk.h"

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace korvane {

/// The moment at which a process is killed: before a change to a file or folder, or after half of
/// the bytes of a write.
struct CrashMoment {
    std::int64_t change = 0; ///< from 1; 0: it is not killed
    bool inTheMiddle = false;
};

/// The program and the folders that it changes.
struct LoggedProgram {
    std::filesystem::path exports;
    std::filesystem::path support;
    std::filesystem::path log; ///< outside these folders; it is replaced
};

/// What a run did before it ended or was killed.
struct LoggedRun {
    std::vector<DiskChange> changes{};
    bool wasKilled = false;
    std::string output{};
};

/// Runs `korvane-sync` with `arguments` as a process of its own, with the library that logs its
/// changes, and kills it at `moment`.
LoggedRun runLogged(const std::vector<std::string>& arguments, const LoggedProgram& program,
    const CrashMoment& moment = {});

} // namespace korvane
