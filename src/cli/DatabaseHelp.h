#pragma once

#include "messages/DBError.h"
#include "messages/DatabaseFault.h"

#include <string>

namespace korvane {

/// A database that cannot be opened or read at all: the fixed text of that, and what the program
/// can say about the cause, for people alone.
struct UnreadableDatabase : DBError {
    UnreadableDatabase(std::string text, std::string helpText)
        : DBError(std::move(text))
        , help(std::move(helpText))
    {
    }

    std::string help;
};

/// What advice depends on, besides the cause.
struct DatabaseSituation {
    std::string path;
    bool named = true; ///< the user has named the file; otherwise it is MessagesDB::path()
    bool onAMac = false; ///< where privacy settings hide files from programs
};

/// One line: the cause in the words of SQLite or of the system, and what to do about it.
std::string databaseHelp(const DatabaseFault& fault, const DatabaseSituation& situation);

/// The same for the database at `path`, which could not be opened a moment ago.
std::string databaseHelp(const std::string& path);

} // namespace korvane
