#pragma once

#include "crash/Disk.h"

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace korvane {

/// What goes wrong in a run.
struct Trouble {
    enum class Kind {
        None,
        KilledBefore, ///< a change to a file or folder
        KilledInTheMiddle, ///< of a write: half of the bytes are written
        Error, ///< a change fails, and the process goes on
        FullDisk, ///< this change fails, and all later ones that need space
    };

    Kind kind = Kind::None;
    std::int64_t change = 0; ///< the number of the change, from 1
    int secondsPerLook = 0; ///< by which the clock advances whenever the program looks at it

    bool kills() const { return kind == Kind::KilledBefore || kind == Kind::KilledInTheMiddle; }
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
/// changes, and makes the trouble.
LoggedRun runLogged(const std::vector<std::string>& arguments, const LoggedProgram& program,
    const Trouble& trouble = {});

} // namespace korvane
