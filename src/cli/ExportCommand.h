#pragma once

#include "cli/ChatSelection.h"
#include "cli/Console.h"

#include <optional>
#include <string>
#include <vector>

namespace korvane {

struct ExportOptions {
    Sources sources;
    bool all = false;
    std::vector<std::string> chats; ///< guids, where not all
    std::string folder;
    std::optional<double> everySeconds; ///< absent: one run
    bool json = false;
};

/// Exports the chats, once or again and again until it is interrupted. The run at hand ends with
/// the chat at hand, its progress saved. A run that cannot begin is reported like one that fails;
/// where it is the first, it is also the last. Throws std::overflow_error (see referenceTime()).
int runExport(const ExportOptions& options, const Console& console);

} // namespace korvane
