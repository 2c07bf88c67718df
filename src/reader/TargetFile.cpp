#include "reader/TargetFile.h"

#include <stdexcept>

namespace korvane {

namespace fs = std::filesystem;

void TargetFile::refuse(const fs::path& file, const std::string& reason)
{
    throw std::runtime_error(file.string() + ": " + reason);
}

void TargetFile::check(const fs::path& file, Files::Existing existing,
    bool (*isOwn)(const fs::path& regularFile), const std::string& own)
{
    const fs::file_status status = fs::symlink_status(file);
    if (!fs::exists(status))
        return;
    if (fs::is_directory(status))
        refuse(file, "This is a folder. Name a file in it.");
    if (!fs::is_regular_file(status))
        refuse(file, "This is not a regular file. Name another one.");
    if (!isOwn(file)) {
        refuse(file,
            "This file is not " + own
                + ", so it is not overwritten. Remove it, or name another file.");
    }
    if (existing == Files::Existing::Keep)
        refuse(file, "The file exists; --force overwrites it.");
}

} // namespace korvane
