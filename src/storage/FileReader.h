#pragma once

#include "storage/Descriptor.h"

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <span>

namespace korvane {

/// A regular file, open for reading. Its open() is the one rule for which files count as exported:
/// the manifest lists what it opens, and the server serves that. What it reads is that file to the
/// end, whatever takes its name meanwhile. Used by one thread at a time.
class FileReader {
public:
    /// Nothing where `file` is no regular file or may not be read. Does not follow a link that
    /// stands in the file's place, and does not wait for what is no file.
    static std::optional<FileReader> open(const std::filesystem::path& file);

    /// The file's size, in bytes, when it was opened.
    std::int64_t size() const { return m_size; }

    /// When the file was last changed, as it was opened; the fraction of the second is dropped.
    std::chrono::sys_seconds modified() const { return m_modified; }

    /// Reads from `offset` on until `to` is full or the file ends; returns how many bytes there
    /// were, or nothing where reading fails.
    std::optional<std::size_t> readAt(std::int64_t offset, std::span<char> to) const;

private:
    FileReader(Descriptor descriptor, std::int64_t size, std::chrono::sys_seconds modified);

    Descriptor m_descriptor;
    std::int64_t m_size;
    std::chrono::sys_seconds m_modified;
};

} // namespace korvane
