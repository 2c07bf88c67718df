#pragma once

#include <sys/types.h>

#include <cstdint>
#include <initializer_list>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

namespace korvane {

/// What the preloaded library does in one process: it numbers the changes to the watched folders,
/// logs them, and kills the process at one of them or lets one fail. It reads these environment
/// variables once:
///
///     KORVANE_CRASH_FOLDERS  the watched folders, absolute, separated by ":"
///     KORVANE_CRASH_LOG      the log, a file outside these folders; it is created or extended
///     KORVANE_CRASH_AT       the number of a change; 0: none
///     KORVANE_CRASH_HOW      what happens at that change:
///                            "before"  the process is killed before it
///                            "middle"  the process is killed after half of the bytes of a write
///                            "error"   it fails with an input/output error
///                            "full"    it and all later changes that need space fail: disk full
///     KORVANE_CRASH_CLOCK    seconds by which each look at the monotonic clock advances it
///
/// Each line of the log is a number, a kind and its arguments, see changesIn(). Texts are
/// hexadecimal. For use by several threads; the caller holds lock() from number() to log().
class CrashPlan {
public:
    /// The plan of this process.
    static CrashPlan& get();

    std::unique_lock<std::recursive_mutex> lock();

    bool watches(const std::string& path) const;

    /// What becomes of a change.
    enum class Fate { Succeeds, IsTorn, Fails };

    /// Whether a change adds a file or bytes, for which a disk may have no space.
    enum class Space { IsNotNeeded, IsNeeded };

    /// Gives the next change its number and decides what becomes of it. Kills the process if it
    /// has to die before this change. Sets errno if the change has to fail.
    Fate number(Space space);

    /// By how many seconds the monotonic clock is ahead now.
    std::int64_t clockOffset();

    /// Logs the change that was just numbered.
    void log(const char* kind, std::initializer_list<std::string> arguments) const;

    [[noreturn]] static void die();

private:
    CrashPlan();

    std::recursive_mutex m_mutex;
    std::vector<std::string> m_folders;
    int m_log = -1;
    std::int64_t m_count = 0;
    std::int64_t m_at = 0;
    std::string m_how;
    std::int64_t m_clockStep = 0;
    std::int64_t m_clockOffset = 0;
};

/// The bytes as pairs of hexadecimal digits, "-" if there are none.
std::string inHexadecimal(std::string_view bytes);

} // namespace korvane
