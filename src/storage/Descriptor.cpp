#include "storage/Descriptor.h"

#include <sys/resource.h>

#include <algorithm>
#include <limits>

namespace korvane {

std::size_t descriptorLimit()
{
    rlimit limit{};
    if (::getrlimit(RLIMIT_NOFILE, &limit) != 0 || limit.rlim_cur == RLIM_INFINITY)
        return std::numeric_limits<std::size_t>::max();
    return limit.rlim_cur;
}

void raiseDescriptorLimit()
{
    constexpr rlim_t wanted = 1024;
    rlimit limit{};
    if (::getrlimit(RLIMIT_NOFILE, &limit) != 0 || limit.rlim_cur >= wanted)
        return;
    limit.rlim_cur = std::min(wanted, limit.rlim_max);
    ::setrlimit(RLIMIT_NOFILE, &limit);
}

} // namespace korvane
