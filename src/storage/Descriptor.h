#pragma once

#include <unistd.h>

#include <cstddef>
#include <utility>

namespace korvane {

/// RAII owner of a file descriptor.
class Descriptor {
public:
    explicit Descriptor(int fd = none) : m_fd(fd) { }
    Descriptor(Descriptor&& other) noexcept : m_fd(std::exchange(other.m_fd, none)) { }
    Descriptor& operator=(Descriptor&& other) noexcept
    {
        std::swap(m_fd, other.m_fd);
        return *this;
    }
    ~Descriptor()
    {
        if (m_fd != none)
            ::close(m_fd);
    }

    int get() const { return m_fd; }

    /// Gives up ownership: the caller closes it.
    int release() { return std::exchange(m_fd, none); }
    explicit operator bool() const { return m_fd != none; }

private:
    static constexpr int none = -1;

    int m_fd;
};

/// How many descriptors this process may have open at a time (the soft limit).
std::size_t descriptorLimit();

} // namespace korvane
