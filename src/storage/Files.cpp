#include "storage/Files.h"

#include "storage/Descriptor.h"
#include "storage/Draft.h"

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

/// The size of a regular file. Throws for anything else: a device may have no end, and reading a
/// pipe blocks until its writer closes it.
std::size_t expectedSize(const Descriptor& file)
{
    struct stat info { };
    if (::fstat(file.get(), &info) != 0)
        throwSystemError();
    if (!S_ISREG(info.st_mode))
        throw std::system_error(std::make_error_code(std::errc::invalid_argument));
    return static_cast<std::size_t>(info.st_size);
}

std::string readAll(const Descriptor& from)
{
    std::string bytes(expectedSize(from) + 1, '\0'); // room for read() to find the end
    std::size_t size = 0;
    while (const std::size_t count = readSome(from, bytes.data() + size, bytes.size() - size)) {
        size += count;
        if (size == bytes.size())
            bytes.resize(2 * size);
    }
    bytes.resize(size);
    return bytes;
}

/// Some file systems do not support fsync(), which then fails with one of these codes; the bytes
/// are written all the same. Any other code (EIO, ENOSPC, EDQUOT) means that they may be lost.
bool isFlushUnsupported(int error)
{
    return error == EINVAL || error == ENOTSUP || error == EOPNOTSUPP || error == ENOSYS
        || error == EROFS;
}

constexpr mode_t ownerOnly = S_IRUSR | S_IWUSR;

/// Opens an empty file for writing. For OwnerOnly, an existing file is unlinked instead of
/// truncated, because it may have other permissions.
Descriptor created(const fs::path& file, Files::Access access)
{
    if (access == Files::Access::AsUsual)
        return opened(file, O_WRONLY | O_CREAT | O_TRUNC);
    ::unlink(file.c_str());
    Descriptor descriptor = opened(file, O_WRONLY | O_CREAT | O_EXCL, ownerOnly);
    ::fchmod(descriptor.get(), ownerOnly); // the umask may have removed bits
    return descriptor;
}

} // namespace

std::optional<std::string> Files::read(const fs::path& file)
{
    try {
        // Checked before opening, because opening a pipe blocks until it has a writer.
        if (!fs::is_regular_file(file))
            return std::nullopt;
        return readAll(opened(file, O_RDONLY));
    } catch (const std::system_error&) {
        return std::nullopt;
    }
}

void Files::flush(const fs::path& file)
{
    flush(opened(file, O_RDONLY | O_NONBLOCK)); // does not block if it is a pipe
}

void Files::flush(const Descriptor& file)
{
    if (::fsync(file.get()) != 0 && !isFlushUnsupported(errno))
        throwSystemError();
}

bool Files::shorten(const fs::path& file, std::uintmax_t size)
{
    if (fs::file_size(file) <= size)
        return false;
    fs::resize_file(file, size);
    return true;
}

void Files::writeAtomically(const fs::path& file, std::string_view bytes, Access access)
{
    fs::path beside = file;
    beside += ".new";
    try {
        const Descriptor descriptor = created(beside, access);
        write(descriptor, bytes);
        flush(descriptor);
        fs::rename(beside, file);
    } catch (const std::system_error&) {
        std::error_code ignored;
        fs::remove(beside, ignored);
        throw;
    }
}

void Files::writeWhole(const fs::path& file, std::string_view bytes, Existing existing)
{
    const Draft draft(file);
    write(draft.descriptor(), bytes);
    flush(draft.descriptor());
    draft.giveName(file, existing);
}

} // namespace korvane
