#pragma once

#include "storage/Descriptor.h"
#include "storage/FileReader.h"

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace korvane {

/// An open folder. Its members work on the files in it by name, even if the folder's own path is
/// meanwhile replaced by a symbolic link. Unless stated otherwise, they throw std::system_error
/// with the system's error code. Used by one thread at a time.
class Folder {
public:
    /// Opens an existing folder. Nothing if there is none: a symbolic link is not followed.
    static std::optional<Folder> open(const std::filesystem::path& path);

    /// The same, but creates the folder if there is none.
    static Folder openOrCreate(const std::filesystem::path& path);

    /// The names of all entries, sorted.
    std::vector<std::string> names() const;

    bool contains(const std::string& name) const;

    /// Opens a regular file for reading. Nothing if that fails, see FileReader.
    std::optional<FileReader> file(const std::string& name) const;

    /// Renames a file into, inside or out of this folder. Replaces a file of the new name.
    void moveIn(const std::filesystem::path& file, const std::string& name) const;
    void rename(const std::string& name, const std::string& newName) const;
    void moveOut(const std::string& name, const std::filesystem::path& file) const;

    void remove(const std::string& name) const;

    /// Waits until the folder's list of names is on disk.
    void flush() const;

private:
    explicit Folder(Descriptor descriptor) : m_descriptor(std::move(descriptor)) { }

    Descriptor m_descriptor;
};

} // namespace korvane
