#include "storage/Files.h"

#include "storage/Descriptor.h"

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

Descriptor opened(const fs::path& file, int flags, mode_t mode = 0666)
{
    Descriptor descriptor(::open(file.c_str(), flags | O_CLOEXEC, mode));
    if (!descriptor)
        throwSystemError();
    return descriptor;
}

void write(const Descriptor& to, std::string_view bytes)
{
    while (!bytes.empty()) {
        const ssize_t count = ::write(to.get(), bytes.data(), bytes.size());
        if (count >= 0)
            bytes.remove_prefix(static_cast<std::size_t>(count));
        else if (errno != EINTR)
            throwSystemError();
    }
}

std::size_t readSome(const Descriptor& from, char* to, std::size_t size)
{
    ssize_t count = 0;
    do
        count = ::read(from.get(), to, size);
    while (count < 0 && errno == EINTR);
    if (count < 0)
        throwSystemError();
    return static_cast<std::size_t>(count);
}

std::size_t expectedSize(const Descriptor& file)
{
    struct stat info { };
    return ::fstat(file.get(), &info) == 0 ? static_cast<std::size_t>(info.st_size) : 0;
}

std::string readAll(const Descriptor& from)
{
    std::string bytes(expectedSize(from) + 1, '\0'); // one more byte shows the end at once
    std::size_t size = 0;
    while (const std::size_t count = readSome(from, bytes.data() + size, bytes.size() - size)) {
        size += count;
        if (size == bytes.size())
            bytes.resize(2 * size);
    }
    bytes.resize(size);
    return bytes;
}

void flushToDisk(const Descriptor& file)
{
    if (::fsync(file.get()) != 0)
        throwSystemError();
}

constexpr mode_t ownerOnly = S_IRUSR | S_IWUSR;

/// A new file for writing; an old one of that name goes, for it might have other permissions.
Descriptor created(const fs::path& file, Files::Access access)
{
    if (access == Files::Access::AsUsual)
        return opened(file, O_WRONLY | O_CREAT | O_TRUNC);
    ::unlink(file.c_str());
    Descriptor descriptor = opened(file, O_WRONLY | O_CREAT | O_EXCL, ownerOnly);
    ::fchmod(descriptor.get(), ownerOnly); // whatever the umask took away
    return descriptor;
}

} // namespace

std::optional<std::string> Files::read(const fs::path& file)
{
    try {
        return readAll(opened(file, O_RDONLY));
    } catch (const std::system_error&) {
        return std::nullopt;
    }
}

void Files::append(const fs::path& file, std::span<const std::string_view> pieces)
{
    const Descriptor descriptor = opened(file, O_WRONLY | O_CREAT | O_APPEND);
    for (const std::string_view piece : pieces)
        write(descriptor, piece);
}

void Files::writeAtomically(const fs::path& file, std::string_view bytes, Access access)
{
    fs::path beside = file;
    beside += ".new";
    try {
        const Descriptor descriptor = created(beside, access);
        write(descriptor, bytes);
        flushToDisk(descriptor);
        fs::rename(beside, file);
    } catch (const std::system_error&) {
        std::error_code ignored;
        fs::remove(beside, ignored);
        throw;
    }
}

} // namespace korvane
