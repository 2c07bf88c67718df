#pragma once

#include "export/ExportSetup.h"
#include "storage/Descriptor.h"

#include <string>

namespace korvane {

/// Stops the next export before its first chat, where it reads what was exported so far: a pipe
/// takes the place of that file and gives its contents only when told to.
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
    const std::filesystem::path m_file;
    const std::string m_contents;
    Descriptor m_pipe;
};

} // namespace korvane
