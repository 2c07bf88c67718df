#pragma once

#include <optional>
#include <string>

namespace korvane {

/// The reason why a Messages database cannot be opened or read. MessagesDB reports only one of two
/// fixed texts; this gives a program the details.
struct DatabaseFault {
    enum class Cause {
        Missing, ///< there is no such file
        NotAFile, ///< a folder, named pipe, socket or device
        PipeBeside, ///< a named pipe where SQLite expects its log, index or journal
        Empty, ///< a file of 0 bytes
        Denied, ///< this process may not read it
        LogUnusable, ///< the write-ahead log cannot be read or created in this folder
        Locked, ///< another connection holds a lock
        NotADatabase, ///< encrypted, or another kind of file
        Damaged,
        NotMessages, ///< an SQLite database without the message table
        Gone, ///< the fault is gone: the database can be read now
        Other,
    };

    bool operator==(const DatabaseFault&) const = default;

    Cause cause = Cause::Other;
    std::string reason; ///< text from SQLite or the system; for PipeBeside, the pipe's path
};

/// The statement that probes whether a database can be read.
inline constexpr const char* databaseProbe = "SELECT 1 FROM message LIMIT 1";

/// Finds the faults that file types and sizes reveal, without opening anything. Call this before
/// SQLite opens the file: opening a named pipe blocks, and for an empty database SQLite deletes the
/// log beside it. Absent if there is no such fault, including when the file does not exist.
std::optional<DatabaseFault> faultOfFiles(const std::string& path);

/// Tries to read the database as MessagesDB does and returns the cause of the failure, or
/// Cause::Gone if the read succeeds.
DatabaseFault findDatabaseFault(const std::string& path);

} // namespace korvane
