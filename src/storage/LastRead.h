#pragma once

#include "storage/DatabaseStamp.h"

#include <chrono>
#include <optional>
#include <string>

namespace korvane {

/// Tells whether what was last read from a database is still up to date, so that the read need not
/// be repeated. Goes by the stamps of the files; every 30 minutes it no longer trusts them. Used by
/// one thread at a time, and for one kind of read.
class LastRead {
public:
    using Clock = DatabaseStamp::Clock;

    /// Call it before each read and before the database is opened for it: what is written later
    /// must not count as read. If the result is true, the files are as they were before the last
    /// read that setDone() reported. Otherwise that read counts no longer: read, and call setDone()
    /// if that succeeded. `now` is the time of the call; only tests pass another one.
    bool isUpToDate(const std::string& database, Clock::time_point now = Clock::now());

    /// The read has succeeded before which isUpToDate() has just returned false.
    void setDone() { m_done = m_begun; }

private:
    struct Read {
        std::optional<DatabaseStamp> stamp; ///< of the files before the read
        Clock::time_point time;
    };

    bool isConfirmedBy(const Read& later) const;

    Read m_begun;
    std::optional<Read> m_done;
};

} // namespace korvane
