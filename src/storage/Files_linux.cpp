#include "storage/Descriptor.h"
#include "storage/Files.h"

#include <fcntl.h>
#include <unistd.h>

namespace korvane {

bool Files::flushFileSystem(const std::filesystem::path& folder)
{
    const Descriptor descriptor(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    return descriptor && ::syncfs(descriptor.get()) == 0; // reports write errors since Linux 5.8
}

} // namespace korvane
