#pragma once

#include "messages/DatabaseFault.h"
#include "messages/Sqlite.h"

#include <string>

namespace korvane {

/// Thrown if a database cannot be opened or read at all. `message` is the error text; `help`
/// explains the cause to people and is never part of JSON output.
struct UnreadableDatabase : DBError {
    UnreadableDatabase(std::string text, std::string helpText)
        : DBError(std::move(text))
        , help(std::move(helpText))
    {
    }

    std::string help;
};

/// What the advice depends on besides the cause.
struct DatabaseSituation {
    std::string path;
    bool named = true; ///< the user named the file; otherwise it is MessagesDB::path()
    bool onAMac = false; ///< on macOS, whose privacy settings hide files from programs
};

/// One line: the cause as SQLite or the system reports it, and what to do about it.
std::string databaseHelp(const DatabaseFault& fault, const DatabaseSituation& situation);

/// The same for the database at `path`, which has just failed to open. Looks for the cause now.
std::string databaseHelp(const std::string& path);

} // namespace korvane
