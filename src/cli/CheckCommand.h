#pragma once

#include "cli/Sources.h"

#include <string>
#include <vector>

namespace korvane {

class SupportFolder;
struct Console;

struct CheckOptions {
    Sources sources;
    bool all = false;
    std::vector<std::string> chats; ///< guids; empty: those that were exported
    std::string folder;
    bool json = false;
    bool repair = false;
    bool yes = false; ///< repair files from a different database without asking
};

/// Compares the export files with the database and prints what it finds. With `repair`, it then
/// exports the chats that are not intact from the beginning, and checks them again. Without it,
/// only the files of the SupportLock are written. The exit code is that of a failure if something
/// is not intact in the end or could not be read. Throws DBError or std::runtime_error, also if the
/// sources cannot be opened (see opened()).
int runCheck(const CheckOptions& options, const SupportFolder& support, const Console& console);

} // namespace korvane
