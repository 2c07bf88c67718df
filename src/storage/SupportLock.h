#pragma once

#include <QLockFile>

#include <stdexcept>

namespace korvane {

/// While it lives, other processes cannot export with the same support folder: two exports at a
/// time would append the same messages twice. The lock of a process that has died is ignored.
class SupportLock {
public:
    /// Throws std::runtime_error if it cannot get the lock. The text names the holder, or says that
    /// the support folder is not writable.
    SupportLock();

private:
    QLockFile m_file;
};

} // namespace korvane
