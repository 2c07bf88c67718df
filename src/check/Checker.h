#pragma once

#include "check/RecordCounts.h"
#include "messages/MessageTypes.h"
#include "storage/Paths.h"

#include <cstdint>
#include <filesystem>
#include <functional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace korvane {

struct ContactNames;

/// What a check found out about one chat.
struct ChatCheck {
    std::string guid;
    std::string title;
    std::string file; ///< the name of its file inside the export folder
    RecordCounts counts;
    std::int64_t kept = 0; ///< records of the chat in Kept/
    bool isInDatabase = true; ///< otherwise its file cannot be written again
    bool isLost = false; ///< neither the database nor the folder has what the state recorded
    bool sharesFile = false; ///< another chat of the state has the same file
    bool isInState = true; ///< otherwise the next export adds all its messages to the file

    /// An export would refuse the file, because it is from a different database (see ForeignFiles).
    /// Only looked for if the chat can be repaired.
    bool isRefused = false;

    bool operator==(const ChatCheck&) const = default;

    bool isIntact() const { return counts.areIntact(); }
    bool canBeRepaired() const { return !isIntact() && isInDatabase && !sharesFile; }

    /// Whether the file, or a part of it, is from a different database.
    bool isForeign() const { return counts.foreign > 0 || isRefused; }
};

/// The outcome of one check.
struct CheckResult {
    std::vector<ChatCheck> chats{}; ///< those that could be checked
    std::int64_t unfiled = 0; ///< messages that belong to no chat and are therefore in no file
    std::vector<std::string> errors{}; ///< one line per failure
    bool interrupted = false; ///< `progress` ended the check; the rest is not complete

    bool operator==(const CheckResult&) const = default;

    bool isWhole() const;

    /// The guids of the chats that can be repaired.
    std::set<std::string> repairable() const;
};

/// Which chats to check. By default those that the state or a file in the folder knows.
struct CheckScope {
    bool all = false; ///< every chat of the database, too
    std::vector<std::string> chats{}; ///< if not empty: only the chats with these guids
};

/// How far a check is, in messages of the database.
struct CheckStep {
    std::int64_t done = 0;
    std::int64_t total = 0;
    std::string_view title; ///< of the current chat
};

/// Called often during a check, on its thread. Returning false ends the check.
using CheckProgress = std::function<bool(const CheckStep&)>;

/// Compares export files with the Messages database. Holds no state, runs on the calling thread,
/// writes nothing and takes no lock: the caller must prevent an export at the same time.
namespace Checker {

/// Checks the files of `folder`. `chats` are all chats of the database. A support folder that does
/// not exist has an empty state and is not created. The failure of one chat adds a line to the
/// errors of the result. Throws DBError if the database cannot be opened, and std::overflow_error
/// (see referenceTime()).
CheckResult check(const std::vector<ChatInfo>& chats, const ContactNames& names,
    const std::filesystem::path& folder, const SupportFolder& support, const std::string& database,
    const CheckScope& scope = {}, const CheckProgress& progress = {});

} // namespace Checker

} // namespace korvane
