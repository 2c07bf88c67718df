#pragma once

#include "export/ExportSetup.h"
#include "storage/Descriptor.h"

#include <filesystem>

namespace korvane {

/// Blocks the next export before its first chat, when it opens the state file. A write lease on
/// that file (F_SETLEASE of fcntl, Linux only) blocks the open() until release(), or until the
/// kernel breaks the lease, by default after 45 seconds.
class HeldExport {
public:
    explicit HeldExport(const ExportSetup& files) : HeldExport(files.stateFile()) { }
    explicit HeldExport(const std::filesystem::path& stateFile); ///< in a folder that exists
    ~HeldExport();
    HeldExport(const HeldExport&) = delete;
    HeldExport& operator=(const HeldExport&) = delete;

    /// Whether an export is blocked there.
    bool isReached();

    /// Lets the export continue. Call it after isReached(): a later export is not blocked.
    void release();

private:
    Descriptor m_file; ///< holds the lease
};

} // namespace korvane
