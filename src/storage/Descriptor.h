#pragma once

#include <unistd.h>

#include <utility>

namespace korvane {

/// Owns a file descriptor and closes it.
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
    explicit operator bool() const { return m_fd != none; }

private:
    static constexpr int none = -1;

    int m_fd;
};

} // namespace korvane
