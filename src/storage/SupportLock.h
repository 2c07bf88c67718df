#pragma once

#include "storage/FileLock.h"

namespace korvane {

class SupportFolder;

/// While it lives, other processes cannot export with the same support folder: two exports at a
/// time would append the same messages twice. A lock on the file "export.lock" in that folder,
/// which contains the holder's process id and program name, a line each. On a file system without
/// locks, every process gets the lock.
class SupportLock {
public:
    /// What the holder does. Reading also works on a full disk.
    enum class Use { Export, Reading };

    /// Throws std::runtime_error if it cannot get the lock. The text names the holder, or says that
    /// the support folder is not writable.
    explicit SupportLock(const SupportFolder& support, Use use = Use::Export);

private:
    const FileLock m_file;
};

} // namespace korvane
