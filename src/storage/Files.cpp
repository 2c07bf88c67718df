#include "storage/Files.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>

namespace korvane {

namespace fs = std::filesystem;

namespace {

[[noreturn]] void throwSystemError()
{
    throw std::system_error(errno, std::generic_category());
}

/// An open file descriptor, closed on destruction.
class Descriptor {
public:
    Descriptor(const fs::path& file, int flags)
        : m_fd(::open(file.c_str(), flags | O_CLOEXEC, 0666))
    {
        if (m_fd < 0)
            throwSystemError();
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    ~Descriptor() { ::close(m_fd); }

    void write(std::string_view bytes) const
    {
        while (!bytes.empty()) {
            const ssize_t count = ::write(m_fd, bytes.data(), bytes.size());
            if (count >= 0)
                bytes.remove_prefix(static_cast<std::size_t>(count));
            else if (errno != EINTR)
                throwSystemError();
        }
    }

    std::string readAll() const
    {
        std::string bytes(expectedSize() + 1, '\0'); // one more byte shows the end at once
        std::size_t size = 0;
        while (const std::size_t count = readSome(bytes.data() + size, bytes.size() - size)) {
            size += count;
            if (size == bytes.size())
                bytes.resize(2 * size);
        }
        bytes.resize(size);
        return bytes;
    }

    void flushToDisk() const
    {
        if (::fsync(m_fd) != 0)
            throwSystemError();
    }

private:
    std::size_t readSome(char* to, std::size_t size) const
    {
        ssize_t count = 0;
        do
            count = ::read(m_fd, to, size);
        while (count < 0 && errno == EINTR);
        if (count < 0)
            throwSystemError();
        return static_cast<std::size_t>(count);
    }

    std::size_t expectedSize() const
    {
        struct stat info { };
        return ::fstat(m_fd, &info) == 0 ? static_cast<std::size_t>(info.st_size) : 0;
    }

    int m_fd;
};

} // namespace

std::optional<std::string> Files::read(const fs::path& file)
{
    try {
        return Descriptor(file, O_RDONLY).readAll();
    } catch (const std::system_error&) {
        return std::nullopt;
    }
}

void Files::append(const fs::path& file, std::span<const std::string_view> pieces)
{
    const Descriptor descriptor(file, O_WRONLY | O_CREAT | O_APPEND);
    for (const std::string_view piece : pieces)
        descriptor.write(piece);
}

void Files::writeAtomically(const fs::path& file, std::string_view bytes)
{
    fs::path beside = file;
    beside += ".new";
    try {
        const Descriptor descriptor(beside, O_WRONLY | O_CREAT | O_TRUNC);
        descriptor.write(bytes);
        descriptor.flushToDisk();
        fs::rename(beside, file);
    } catch (const std::system_error&) {
        std::error_code ignored;
        fs::remove(beside, ignored);
        throw;
    }
}

} // namespace korvane
