#pragma once

#include "check/Checker.h"
#include "export/Exporter.h"

#include <cstdint>
#include <string>
#include <vector>

namespace korvane {

/// What a repair did.
struct RepairReport {
    std::vector<std::string> guids; ///< of the chats that were exported again
    std::vector<KeptFile> kept; ///< old files that stay

    bool operator==(const RepairReport&) const = default;
};

/// "1 message", "2 messages".
std::string countOf(std::int64_t count, const std::string& thing);

/// The table of the chats that are not intact, and a line for the rest.
std::string checkAsText(const CheckResult& result);

/// One object in one line. `repair` is null without a repair.
std::string checkAsJson(const CheckResult& result, const RepairReport* repair);

} // namespace korvane
