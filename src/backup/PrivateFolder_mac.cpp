#include "backup/PrivateFolder.h"

#include <system_error>

namespace korvane {

namespace fs = std::filesystem;

/// $TMPDIR, which macOS sets to a folder of this user alone.
std::vector<fs::path> PrivateFolder::places()
{
    std::error_code failure;
    const fs::path temporary = fs::temp_directory_path(failure);
    return failure ? std::vector<fs::path>() : std::vector{temporary};
}

bool isMemoryFileSystem(const fs::path& /*folder*/)
{
    return false; // a Mac has none that a program may use
}

} // namespace korvane
