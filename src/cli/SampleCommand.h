#pragma once

#include "sample/SampleDatabase.h"

#include <optional>
#include <string>

namespace korvane {

struct Console;

struct SampleOptions {
    std::string file;
    std::optional<std::string> contacts; ///< where to write the sample's people as vCards
    SampleSize size;
    bool overwrite = false;
};

/// Writes a sample database and, if asked, its contacts. An interruption (Ctrl-C) while the
/// database is written deletes it. Throws DBError or std::runtime_error.
int runSample(const SampleOptions& options, const Console& console);

} // namespace korvane
