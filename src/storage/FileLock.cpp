#include "storage/FileLock.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstddef>

namespace korvane {

namespace {

constexpr std::size_t longestNote = 4096;

/// O_NONBLOCK: opening a named pipe would block. It has no effect on a regular file.
Descriptor openedFile(const std::filesystem::path& path)
{
    Descriptor file(::open(
        path.c_str(), O_RDWR | O_CREAT | O_NONBLOCK | O_CLOEXEC | O_NOFOLLOW, S_IRUSR | S_IWUSR));
    struct stat status { };
    const bool isRegular = file && ::fstat(file.get(), &status) == 0 && S_ISREG(status.st_mode);
    return isRegular ? std::move(file) : Descriptor();
}

} // namespace

FileLock::FileLock(const std::filesystem::path& path) : m_file(openedFile(path)) { }

FileLock::Outcome FileLock::tryLock() const
{
    if (!m_file)
        return Outcome::Failed;
    if (::flock(m_file.get(), LOCK_EX | LOCK_NB) == 0)
        return Outcome::Held;
    return errno == EWOULDBLOCK ? Outcome::HeldByAnother : Outcome::Unsupported;
}

void FileLock::leaveNote(std::string_view note) const
{
    if (::ftruncate(m_file.get(), 0) == 0)
        (void)!::pwrite(m_file.get(), note.data(), note.size(), 0);
}

std::string FileLock::note() const
{
    std::string note(longestNote, '\0');
    const ssize_t size = ::pread(m_file.get(), note.data(), note.size(), 0);
    note.resize(size > 0 ? static_cast<std::size_t>(size) : 0);
    return note;
}

} // namespace korvane
