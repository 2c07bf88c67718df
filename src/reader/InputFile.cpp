#include "reader/InputFile.h"

#include <cerrno>
#include <system_error>

namespace korvane {

namespace fs = std::filesystem;

namespace {

std::string reasonNotToOpen(const fs::path& path, int systemError)
{
    std::error_code error;
    const fs::file_type type = fs::symlink_status(path, error).type();
    if (type == fs::file_type::not_found)
        error = std::make_error_code(std::errc::no_such_file_or_directory);
    if (error)
        return error.message() + '.';
    if (type == fs::file_type::symlink)
        return "It is a symbolic link.";
    if (type == fs::file_type::directory)
        return "It is a folder.";
    if (type != fs::file_type::regular)
        return "It is not a regular file.";
    return std::generic_category().message(systemError) + '.';
}

} // namespace

InputFile InputFile::open(const fs::path& path)
{
    InputFile file{FileReader::open(path), {}};
    const int systemError = errno; // of the call that failed, if one did
    if (!file.reader)
        file.error = reasonNotToOpen(path, systemError);
    return file;
}

} // namespace korvane
