#include "storage/FileReader.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>

namespace korvane {

namespace {

std::optional<RegularFile> regularFile(const struct stat& info)
{
    if (!S_ISREG(info.st_mode))
        return std::nullopt;
    return RegularFile{info.st_size, std::chrono::sys_seconds(std::chrono::seconds(info.st_mtime))};
}

} // namespace

std::optional<RegularFile> RegularFile::at(const std::filesystem::path& file)
{
    struct stat info { };
    return ::lstat(file.c_str(), &info) == 0 ? regularFile(info) : std::nullopt;
}

FileReader::FileReader(Descriptor descriptor, std::int64_t size)
    : m_descriptor(std::move(descriptor))
    , m_size(size)
{
}

std::optional<FileReader> FileReader::open(const std::filesystem::path& file)
{
    return openAt(AT_FDCWD, file.c_str());
}

std::optional<FileReader> FileReader::open(const Descriptor& folder, const std::string& name)
{
    return openAt(folder.get(), name.c_str());
}

std::optional<FileReader> FileReader::openAt(int folder, const char* name)
{
    // O_NONBLOCK: otherwise, opening a pipe would block until it has a writer.
    Descriptor descriptor(::openat(folder, name, O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK));
    struct stat info { };
    if (!descriptor || ::fstat(descriptor.get(), &info) != 0)
        return std::nullopt;
    const auto regular = regularFile(info);
    return regular ? std::optional(FileReader(std::move(descriptor), regular->size)) : std::nullopt;
}

std::optional<std::size_t> FileReader::readAt(std::int64_t offset, std::span<char> to) const
{
    std::size_t done = 0;
    while (done < to.size()) {
        const ssize_t count = ::pread(m_descriptor.get(), to.data() + done, to.size() - done,
            static_cast<off_t>(offset) + static_cast<off_t>(done));
        if (count == 0)
            break;
        if (count > 0)
            done += static_cast<std::size_t>(count);
        else if (errno != EINTR)
            return std::nullopt;
    }
    return done;
}

} // namespace korvane
