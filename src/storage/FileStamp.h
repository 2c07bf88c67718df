#pragma once

#include <sys/types.h>

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <utility>

namespace korvane {

/// What the file system records about a file besides its contents. A write changes at least one of
/// the times, unless it follows another write within the resolution of the file system's clock.
/// Replacing the file, also by mounting over it, changes its identity. A plain value.
struct FileStamp {
    using Clock = std::chrono::system_clock;

    /// Seconds since the epoch of `Clock`, and nanoseconds since then. File systems can record
    /// times that Clock::time_point does not hold.
    using Time = std::pair<std::chrono::seconds, std::chrono::nanoseconds>;

    static Time timeOf(Clock::time_point time);

    /// Nothing if there is no such file, or if the system does not tell. Follows symbolic links.
    static std::optional<FileStamp> of(const std::filesystem::path& file);

    bool operator==(const FileStamp&) const = default;

    dev_t device = 0;
    ino_t inode = 0;
    std::int64_t size = 0; ///< bytes
    Time modified; ///< the last change of the contents; programs can set it to any value
    Time changed; ///< the last change of the contents or of anything above; cannot be set
};

/// Whether `file` is on a file system that other machines, or a program in user space, can change
/// without this system's knowledge. What this system then reports about the file may be outdated.
/// Also true if the system does not tell.
bool isOnNetwork(const std::filesystem::path& file);

} // namespace korvane
