#pragma once

#include "storage/Descriptor.h"

#include <fcntl.h>
#include <sys/resource.h>

namespace korvane {

/// RAII: lowers RLIMIT_NOFILE, so that this process can open at most `more` further descriptors,
/// and restores it. Skip the test unless `works()`.
class OnlyDescriptors {
public:
    explicit OnlyDescriptors(rlim_t more)
    {
        ::getrlimit(RLIMIT_NOFILE, &m_before);
        const Descriptor lowestFree(::open("/dev/null", O_RDONLY | O_CLOEXEC));
        const rlimit tight{static_cast<rlim_t>(lowestFree.get()) + more, m_before.rlim_max};
        m_works = lowestFree && ::setrlimit(RLIMIT_NOFILE, &tight) == 0;
    }
    ~OnlyDescriptors() { ::setrlimit(RLIMIT_NOFILE, &m_before); }
    OnlyDescriptors(const OnlyDescriptors&) = delete;
    OnlyDescriptors& operator=(const OnlyDescriptors&) = delete;

    bool works() const { return m_works; }

private:
    rlimit m_before{};
    bool m_works = false;
};

} // namespace korvane
