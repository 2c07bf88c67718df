#pragma once

#include "check/Checker.h"
#include "export/Exporter.h"

#include <string>
#include <vector>

namespace korvane {

/// What a repair did.
struct RepairReport {
    std::vector<std::string> guids; ///< of the chats that were exported again
    std::vector<KeptFile> kept; ///< old files that stay

    bool operator==(const RepairReport&) const = default;
};

/// The table of the chats that are not intact, and summaryOf().
std::string checkAsText(const CheckResult& result);

/// "298 chats are intact, 2 are not" and a line feed; a second line if messages are in no file.
std::string summaryOf(const CheckResult& result);

/// One object in one line. `repair` is null without a repair.
std::string checkAsJson(const CheckResult& result, const RepairReport* repair);

/// What a repair is going to do.
std::string announcement(const CheckResult& result);

/// What it did: `result` is that of the check after it.
std::string repairAsText(const CheckResult& result, const RepairReport& repair);

/// Describes the files from a different database. Empty if there are none that can be repaired.
std::string questionAbout(const CheckResult& result, const std::string& database);

/// Lines about the chats that Messages no longer has: damaged ones, which no repair can help, and
/// those that have no file either. And a line about an export that was killed, if `wasKilled`, or
/// otherwise about the files to which the next export adds all their messages again.
std::vector<std::string> hintsAbout(const CheckResult& result, bool wasKilled);

} // namespace korvane
