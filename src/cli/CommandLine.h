#pragma once

#include <string>
#include <vector>

namespace korvane {

class SupportFolder;
struct Console;

/// Runs `korvane-sync` with `arguments` (without the program's name) and returns its exit code.
/// Bad usage prints one line on `console.err` and returns ExitCode::badUsage.
int runCommandLine(const std::vector<std::string>& arguments, const SupportFolder& support,
    const Console& console);

} // namespace korvane
