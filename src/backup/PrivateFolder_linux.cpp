#include "backup/PrivateFolder.h"

#include <linux/magic.h>
#include <sys/vfs.h>

#include <cstdlib>

namespace korvane {

namespace fs = std::filesystem;

std::vector<fs::path> PrivateFolder::places()
{
    std::vector<fs::path> places;
    const char* runtime = std::getenv("XDG_RUNTIME_DIR"); // of this user alone
    if (runtime && fs::path(runtime).is_absolute())
        places.emplace_back(runtime);
    places.emplace_back("/dev/shm");
    std::error_code failure;
    const fs::path temporary = fs::temp_directory_path(failure);
    if (!failure)
        places.push_back(temporary);
    places.emplace_back("/var/tmp");
    return places;
}

bool isMemoryFileSystem(const fs::path& folder)
{
    struct statfs info { };
    return ::statfs(folder.c_str(), &info) == 0
        && (info.f_type == TMPFS_MAGIC || info.f_type == RAMFS_MAGIC);
}

} // namespace korvane
