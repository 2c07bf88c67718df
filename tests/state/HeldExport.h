#pragma once

#include "export/ExportSetup.h"
#include "storage/Descriptor.h"

namespace korvane {

/// Stops the next export before its first chat, where it opens the file of what was exported so
/// far: a lease on that file (fcntl, Linux) makes it wait there until told to go on, or until the
/// kernel's limit of 45 seconds.
class HeldExport {
public:
    explicit HeldExport(const ExportSetup& files);
    ~HeldExport();
    HeldExport(const HeldExport&) = delete;
    HeldExport& operator=(const HeldExport&) = delete;

    /// Whether an export has come there.
    bool isReached();

    /// Lets it go on; it must have been reached.
    void release();

private:
    Descriptor m_file; ///< holds the lease
};

} // namespace korvane
