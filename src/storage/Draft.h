#pragma once

#include "storage/Descriptor.h"
#include "storage/Files.h"

#include <filesystem>
#include <string>

namespace korvane {

/// A file that is not complete yet. Until it is, it has a unique temporary name beside its later
/// one, and mode 0600. The destructor removes the temporary name; the contents stay only if
/// giveName() succeeded. Throws std::system_error with the system's error code. Used by one thread
/// at a time.
class Draft {
public:
    /// Creates the file in the folder of `file`, which is its later name.
    explicit Draft(const std::filesystem::path& file);
    Draft(const Draft&) = delete;
    Draft& operator=(const Draft&) = delete;
    ~Draft();

    /// The open file, for writing.
    const Descriptor& descriptor() const { return m_descriptor; }

    /// Its temporary path, for those who open it themselves.
    const std::string& path() const { return m_path; }

    /// Gives the file its name. Does not flush it. With Existing::Keep, throws
    /// std::errc::file_exists if the name is taken.
    void giveName(const std::filesystem::path& file, Files::Existing existing) const;

private:
    std::string m_path;
    Descriptor m_descriptor;
};

} // namespace korvane
