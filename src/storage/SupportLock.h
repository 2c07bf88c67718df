#pragma once

#include <QLockFile>

#include <stdexcept>

namespace korvane {

/// Keeps other processes from exporting with the same support folder while it lives: two exports
/// at a time would append the same messages twice. The lock of a process that died does not count.
class SupportLock {
public:
    /// Throws std::runtime_error, whose text says who holds the lock or why there can be none.
    SupportLock();

private:
    QLockFile m_file;
};

} // namespace korvane
