#include "storage/Descriptor.h"

#include <sys/resource.h>

#include <limits>

namespace korvane {

std::size_t descriptorLimit()
{
    rlimit limit{};
    if (::getrlimit(RLIMIT_NOFILE, &limit) != 0 || limit.rlim_cur == RLIM_INFINITY)
        return std::numeric_limits<std::size_t>::max();
    return limit.rlim_cur;
}

} // namespace korvane
