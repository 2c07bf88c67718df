#include "storage/FileStamp.h"

#include <linux/magic.h>
#include <sys/stat.h>
#include <sys/vfs.h>

#include <algorithm>
#include <array>

namespace korvane {

namespace {

FileStamp::Time toTime(const timespec& time)
{
    return {std::chrono::seconds(time.tv_sec), std::chrono::nanoseconds(time.tv_nsec)};
}

constexpr std::uint32_t virtualBoxFolder = 0x786f4256;

/// FUSE is among them because most of its file systems that hold a user's files are remote ones.
constexpr std::array<std::uint32_t, 12> networkTypes{
    NFS_SUPER_MAGIC,
    SMB_SUPER_MAGIC,
    SMB2_SUPER_MAGIC,
    CIFS_SUPER_MAGIC,
    FUSE_SUPER_MAGIC,
    V9FS_MAGIC,
    AFS_SUPER_MAGIC,
    AFS_FS_MAGIC,
    CEPH_SUPER_MAGIC,
    CODA_SUPER_MAGIC,
    NCP_SUPER_MAGIC,
    virtualBoxFolder,
};

} // namespace

std::optional<FileStamp> FileStamp::of(const std::filesystem::path& file)
{
    struct stat info { };
    if (::stat(file.c_str(), &info) != 0)
        return std::nullopt;
    return FileStamp{
        info.st_dev, info.st_ino, info.st_size, toTime(info.st_mtim), toTime(info.st_ctim)};
}

bool isOnNetwork(const std::filesystem::path& file)
{
    struct statfs info { };
    if (::statfs(file.c_str(), &info) != 0)
        return true;
    const auto type = static_cast<std::uint32_t>(info.f_type); // signed and wider on some machines
    return std::find(networkTypes.begin(), networkTypes.end(), type) != networkTypes.end();
}

} // namespace korvane
