#pragma once

#include "storage/Descriptor.h"

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <span>
#include <string>

namespace korvane {

/// Size and time of a regular file. Symbolic links, pipes and folders are not regular files: the
/// manifest does not list them, and FileReader does not open them.
struct RegularFile {
    std::int64_t size = 0; ///< bytes
    std::chrono::sys_seconds modified; ///< in whole seconds, rounded down

    /// Nothing if `file` is not a regular file. Does not follow it if it is a symbolic link.
    static std::optional<RegularFile> at(const std::filesystem::path& file);
};

/// A regular file, open for reading. Renaming, replacing or deleting the file does not affect an
/// open reader. Used by one thread at a time.
class FileReader {
public:
    /// Nothing if `file` is not a regular file or cannot be opened. Does not follow it if it is a
    /// symbolic link, and does not block if it is a pipe.
    static std::optional<FileReader> open(const std::filesystem::path& file);

    /// The same for a file in an open folder.
    static std::optional<FileReader> open(const Descriptor& folder, const std::string& name);

    /// The file's size, in bytes, when it was opened.
    std::int64_t size() const { return m_size; }

    /// Reads from `offset` on until `to` is full or the file ends. Returns the number of bytes
    /// read, or nothing on a read error.
    std::optional<std::size_t> readAt(std::int64_t offset, std::span<char> to) const;

private:
    FileReader(Descriptor descriptor, std::int64_t size);
    static std::optional<FileReader> openAt(int folder, const char* name);

    Descriptor m_descriptor;
    std::int64_t m_size;
};

} // namespace korvane
