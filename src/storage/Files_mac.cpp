#include "storage/Files.h"

namespace korvane {

bool Files::flushFileSystem(const std::filesystem::path& /*folder*/)
{
    return false; // sync() covers all file systems and does not wait
}

} // namespace korvane
