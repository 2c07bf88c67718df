#pragma once

#include "storage/Descriptor.h"

#include <cstdint>
#include <filesystem>
#include <string_view>

namespace korvane {

/// A file that grows at its end, written in steps. Creates the file if it does not exist, and
/// follows symbolic links. All members throw std::system_error with the system's error code. Used
/// by one thread at a time.
class OutputFile {
public:
    explicit OutputFile(const std::filesystem::path& file);

    /// Appends `bytes`. On failure, some of them may have been written.
    void append(std::string_view bytes);

    /// Tells the system to start writing to disk what it has in its cache, and does not wait for
    /// it. Shortens a later flush(). Reports no errors.
    void startFlush() const;

private:
    Descriptor m_descriptor;
};

} // namespace korvane
