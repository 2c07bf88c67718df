#pragma once

#include <optional>
#include <string>

namespace korvane {

/// Why a Messages database cannot be opened or read. DBError has one fixed text for all of these;
/// this is for a program that can say more than that.
struct DatabaseFault {
    enum class Cause {
        Missing, ///< there is no such file
        NotAFile, ///< a folder, named pipe, socket or device
        PipeBeside, ///< a named pipe in the place of a file that SQLite keeps beside the database
        Empty, ///< a file of 0 bytes
        Denied, ///< no permission to read it
        LogUnusable, ///< its write-ahead log cannot be read or set up in this folder
        Locked, ///< another connection holds a lock
        NotADatabase, ///< encrypted, or something else
        Damaged,
        NotMessages, ///< a database without the table of messages
        Gone, ///< it can be read now
        Other,
    };

    bool operator==(const DatabaseFault&) const = default;

    Cause cause = Cause::Other;
    std::string reason; ///< SQLite's or the system's words; of PipeBeside, the name of that file
};

/// What can be told from the kinds and sizes of the files. Opening these with SQLite would block
/// (a named pipe), or would do harm (with an empty database, SQLite removes the log beside it).
/// Absent for all other files, also where there are none.
std::optional<DatabaseFault> faultOfFiles(const std::string& path);

/// Tries to read the database, as MessagesDB does, and says what keeps it from that.
DatabaseFault findDatabaseFault(const std::string& path);

} // namespace korvane
