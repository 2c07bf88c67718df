#include "storage/FileStamp.h"

#include <sys/mount.h>
#include <sys/stat.h>

namespace korvane {

namespace {

FileStamp::Time toTime(const timespec& time)
{
    return {std::chrono::seconds(time.tv_sec), std::chrono::nanoseconds(time.tv_nsec)};
}

} // namespace

std::optional<FileStamp> FileStamp::of(const std::filesystem::path& file)
{
    struct stat info { };
    if (::stat(file.c_str(), &info) != 0)
        return std::nullopt;
    return FileStamp{info.st_dev, info.st_ino, info.st_size, toTime(info.st_mtimespec),
        toTime(info.st_ctimespec)};
}

bool isOnNetwork(const std::filesystem::path& file)
{
    struct statfs info { };
    return ::statfs(file.c_str(), &info) != 0 || (info.f_flags & MNT_LOCAL) == 0;
}

} // namespace korvane
