#pragma once

#include "storage/FileStamp.h"

#include <optional>
#include <string>

namespace korvane {

/// The stamps of an SQLite database and of its write-ahead log, the two files that hold its
/// contents. The index of the log ("-shm") holds none. A plain value.
struct DatabaseStamp {
    using Clock = FileStamp::Clock;

    /// The stamp of the files as they are now, if it can prove something: an equal stamp that is
    /// taken later means that nothing was written in between. It proves nothing, and the result is
    /// absent, if
    /// - one of the times is less than 2 s before `now`, or after it: further writes may get the
    ///   same time, because file systems round times by up to 2 s (FAT);
    /// - the database is on a network file system (isOnNetwork());
    /// - the system does not tell about the database, for example because there is none.
    /// `now` is the time of the call; only tests pass another one.
    static std::optional<DatabaseStamp> of(
        const std::string& database, Clock::time_point now = Clock::now());

    bool operator==(const DatabaseStamp&) const = default;

    FileStamp database;
    std::optional<FileStamp> log; ///< absent also if the log is empty, which SQLite may create
};

} // namespace korvane
