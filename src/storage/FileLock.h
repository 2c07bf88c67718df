#pragma once

#include "storage/Descriptor.h"

#include <filesystem>
#include <string>
#include <string_view>

namespace korvane {

/// An exclusive lock on a file, by flock(). Two FileLocks exclude each other within one process,
/// too. The kernel releases the lock when the object is destroyed or the process ends, however it
/// ends; the file stays. Not for use by several threads at a time.
class FileLock {
public:
    enum class Outcome {
        Held,
        HeldByAnother,
        Unsupported, ///< flock() fails, as on some network file systems
        Failed, ///< the file cannot be opened or is not a regular file
    };

    /// Opens the file, or creates it with mode 0600. Does not lock it yet, and never blocks.
    explicit FileLock(const std::filesystem::path& path);

    /// Does not wait for another holder.
    Outcome tryLock() const;

    /// Replaces the file's contents: a note for others, see note(). Errors are ignored.
    void leaveNote(std::string_view note) const;

    /// The file's contents, at most 4 KiB; the holder may be about to replace them.
    std::string note() const;

private:
    Descriptor m_file;
};

} // namespace korvane
