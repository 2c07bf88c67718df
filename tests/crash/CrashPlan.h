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
/// logs each one that succeeded, and kills the process at one of them. It reads these environment
/// variables once:
///
///     KORVANE_CRASH_FOLDERS  the watched folders, absolute, separated by ":"
///     KORVANE_CRASH_LOG      the log, a file outside these folders; it is created or extended
///     KORVANE_CRASH_AT       the number of the change at which the process is killed; 0: none
///     KORVANE_CRASH_MIDDLE   "1": after the first half of that write instead of before it
///
/// Each line of the log is a number, a kind and its arguments, see changesIn(). Texts are
/// hexadecimal. For use by several threads; the caller holds lock() from number() to log().
class CrashPlan {
public:
    /// The plan of this process.
    static CrashPlan& get();

    std::unique_lock<std::recursive_mutex> lock();

    bool watches(const std::string& path) const;

    /// Gives the next change its number. Kills the process if it has to die before this change.
    void number();

    /// Whether the process has to die in the middle of the change that was just numbered.
    bool isTorn() const { return m_inTheMiddle && m_count == m_killAt; }

    /// Logs the change that was just numbered.
    void log(const char* kind, std::initializer_list<std::string> arguments) const;

    [[noreturn]] static void die();

private:
    CrashPlan();

    std::recursive_mutex m_mutex;
    std::vector<std::string> m_folders;
    int m_log = -1;
    std::int64_t m_count = 0;
    std::int64_t m_killAt = 0;
    bool m_inTheMiddle = false;
};

/// The bytes as pairs of hexadecimal digits, "-" if there are none.
std::string inHexadecimal(std::string_view bytes);

} // namespace korvane
