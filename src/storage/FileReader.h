#pragma once

#include "storage/Descriptor.h"

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <span>

namespace korvane {

/// What the file system says of a regular file. Links, pipes and folders are none: the manifest
/// does not list them, and FileReader does not open them.
struct RegularFile {
    std::int64_t size = 0; ///< bytes
    std::chrono::sys_seconds modified; ///< the fraction of the second is dropped

    /// Nothing where `file` is no regular file. Does not follow a link that stands in its place.
    static std::optional<RegularFile> at(const std::filesystem::path& file);
};

/// A regular file, open for reading. It keeps reading that file, whatever takes its name meanwhile.
/// Used by one thread at a time.
class FileReader {
public:
    /// Nothing where `file` is no regular file or may not be read. Does not follow a link that
    /// stands in the file's place, and does not wait for what is no file.
    static std::optional<FileReader> open(const std::filesystem::path& file);

    /// The file's size, in bytes, when it was opened.
    std::int64_t size() const { return m_size; }

    /// Reads from `offset` on until `to` is full or the file ends; returns how many bytes there
    /// were, or nothing where reading fails.
    std::optional<std::size_t> readAt(std::int64_t offset, std::span<char> to) const;

private:
    FileReader(Descriptor descriptor, std::int64_t size);

    Descriptor m_descriptor;
    std::int64_t m_size;
};

} // namespace korvane
