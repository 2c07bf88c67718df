#pragma once

#include "cli/Sources.h"

namespace korvane {

struct Console;

/// `sources`, ready to be read. If they name a backup, opens it, with its password from where they
/// say, and the result has the path of the opened database. Shows on `console.err` which of several
/// backups it is, and progress. Call it before the command handles signals: deriving a key can only
/// be killed. Throws BackupError, InterruptedError or std::runtime_error.
Sources opened(Sources sources, const Console& console);

} // namespace korvane
