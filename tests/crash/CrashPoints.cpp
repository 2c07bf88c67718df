// A library for LD_PRELOAD that replaces the functions which change files: see CrashPlan. It lets
// a test kill a program at each point where it changes a file, and tell what a power cut at that
// point could have left. Changes through other functions (such as mmap() or fopen()) are not seen;
// the tests notice that, because the log then does not lead to the files that are there.

#include "crash/CrashPlan.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/uio.h>
#include <time.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <functional>

namespace {

using korvane::CrashPlan;
using korvane::inHexadecimal;

namespace fs = std::filesystem;

template <typename Function>
Function* next(const char* name)
{
    return reinterpret_cast<Function*>(::dlsym(RTLD_NEXT, name));
}

/// The path of an open file or folder; "" if it has none.
std::string pathOf(int fd)
{
    std::array<char, 4096> path{};
    const std::string link = "/proc/self/fd/" + std::to_string(fd);
    const ssize_t size = ::readlink(link.c_str(), path.data(), path.size());
    return size > 0 ? std::string(path.data(), static_cast<std::size_t>(size)) : "";
}

std::string pathAt(int folder, const char* path)
{
    if (path[0] == '/')
        return fs::path(path).lexically_normal().native();
    const fs::path base = folder == AT_FDCWD ? fs::current_path() : fs::path(pathOf(folder));
    return (base / path).lexically_normal().native();
}

bool isWatched(int fd)
{
    return CrashPlan::get().watches(pathOf(fd));
}

std::string inodeOf(int fd)
{
    struct stat info { };
    ::fstat(fd, &info);
    return std::to_string(info.st_ino);
}

std::string inodeOf(const std::string& path)
{
    struct stat info { };
    ::lstat(path.c_str(), &info);
    return std::to_string(info.st_ino);
}

bool exists(const std::string& path)
{
    struct stat info { };
    return ::lstat(path.c_str(), &info) == 0;
}

/// Numbers a change, makes it unless it has to fail, and logs it. A negative result means that it
/// failed.
int change(const char* kind, const std::function<int()>& make,
    std::initializer_list<std::string> arguments)
{
    CrashPlan& plan = CrashPlan::get();
    const auto held = plan.lock();
    const bool fails = plan.number(CrashPlan::Space::IsNotNeeded) == CrashPlan::Fate::Fails;
    const int result = fails ? -1 : make();
    const int error = errno;
    plan.log(result >= 0 ? kind : "failed", arguments);
    errno = error;
    return result;
}

/// The same for a change that makes something new, whose inode is known only afterwards.
int creation(const char* kind, const std::string& path, const std::function<int()>& make)
{
    CrashPlan& plan = CrashPlan::get();
    const auto held = plan.lock();
    const bool fails = plan.number(CrashPlan::Space::IsNeeded) == CrashPlan::Fate::Fails;
    const int result = fails ? -1 : make();
    const int error = errno;
    if (result >= 0)
        plan.log(kind, {inodeOf(path), inHexadecimal(path)});
    else
        plan.log("failed", {});
    errno = error;
    return result;
}

/// The offset at which the next write() puts its bytes.
off_t writeOffset(int fd)
{
    struct stat info { };
    const bool appends = (::fcntl(fd, F_GETFL) & O_APPEND) != 0;
    if (appends && ::fstat(fd, &info) == 0)
        return info.st_size;
    return ::lseek(fd, 0, SEEK_CUR);
}

using Writer = std::function<ssize_t(std::string_view bytes)>;

ssize_t changeBytes(int fd, off_t offset, std::string_view bytes, const Writer& write)
{
    CrashPlan& plan = CrashPlan::get();
    const auto held = plan.lock();
    const CrashPlan::Fate fate = plan.number(CrashPlan::Space::IsNeeded);
    if (fate == CrashPlan::Fate::IsTorn)
        bytes = bytes.substr(0, bytes.size() / 2);
    const ssize_t count = fate == CrashPlan::Fate::Fails ? -1 : write(bytes);
    const int error = errno;
    const auto written = bytes.substr(0, count > 0 ? static_cast<std::size_t>(count) : 0);
    plan.log("write", {inodeOf(fd), std::to_string(offset), inHexadecimal(written)});
    if (fate == CrashPlan::Fate::IsTorn)
        CrashPlan::die();
    errno = error;
    return count;
}

std::string joined(const iovec* parts, int count)
{
    std::string bytes;
    for (int i = 0; i < count; ++i)
        bytes.append(static_cast<const char*>(parts[i].iov_base), parts[i].iov_len);
    return bytes;
}

/// Opens a file, as `make` does, which may create or empty it.
int openFile(const std::string& path, int flags, const std::function<int()>& make)
{
    CrashPlan& plan = CrashPlan::get();
    const auto held = plan.lock();
    if (!plan.watches(path) || (flags & (O_CREAT | O_TRUNC)) == 0)
        return make();
    if (!exists(path))
        return creation("create", path, make);
    return (flags & O_TRUNC) != 0 ? change("truncate", make, {inodeOf(path), "0"}) : make();
}

/// Creates a file whose name is chosen by `make`.
int openTemporary(char* name, const std::function<int()>& make)
{
    CrashPlan& plan = CrashPlan::get();
    const auto held = plan.lock();
    const bool watched = plan.watches(pathAt(AT_FDCWD, name));
    if (watched && plan.number(CrashPlan::Space::IsNeeded) == CrashPlan::Fate::Fails)
        return -1;
    const int fd = make();
    if (watched && fd >= 0)
        plan.log("create", {inodeOf(fd), inHexadecimal(pathAt(AT_FDCWD, name))});
    return fd;
}

int changeName(const char* kind, const std::string& from, const std::string& to,
    const std::function<int()>& make)
{
    const CrashPlan& plan = CrashPlan::get();
    if (!plan.watches(from) && !plan.watches(to))
        return make();
    return change(kind, make, {inHexadecimal(from), inHexadecimal(to)});
}

int removeName(const std::string& path, const std::function<int()>& make)
{
    if (!CrashPlan::get().watches(path))
        return make();
    return change("unlink", make, {inHexadecimal(path)});
}

int makeFolder(const std::string& path, const std::function<int()>& make)
{
    if (!CrashPlan::get().watches(path) || exists(path))
        return make();
    return creation("mkdir", path, make);
}

int changeSize(const std::string& inode, off_t size, const std::function<int()>& make)
{
    return change("truncate", make, {inode, std::to_string(size)});
}

mode_t modeIn(int flags, va_list arguments)
{
    const bool creates = (flags & O_CREAT) != 0 || (flags & O_TMPFILE) == O_TMPFILE;
    return creates ? va_arg(arguments, mode_t) : 0;
}

} // namespace

extern "C" {

ssize_t write(int fd, const void* bytes, size_t size)
{
    static auto* const real = next<ssize_t(int, const void*, size_t)>("write");
    if (!isWatched(fd))
        return real(fd, bytes, size);
    return changeBytes(fd, writeOffset(fd), {static_cast<const char*>(bytes), size},
        [fd](std::string_view some) { return real(fd, some.data(), some.size()); });
}

ssize_t pwrite(int fd, const void* bytes, size_t size, off_t offset)
{
    static auto* const real = next<ssize_t(int, const void*, size_t, off_t)>("pwrite");
    if (!isWatched(fd))
        return real(fd, bytes, size, offset);
    return changeBytes(fd, offset, {static_cast<const char*>(bytes), size},
        [=](std::string_view some) { return real(fd, some.data(), some.size(), offset); });
}

ssize_t pwrite64(int fd, const void* bytes, size_t size, off_t offset)
{
    return pwrite(fd, bytes, size, offset);
}

ssize_t writev(int fd, const iovec* parts, int count)
{
    static auto* const real = next<ssize_t(int, const iovec*, int)>("writev");
    if (!isWatched(fd))
        return real(fd, parts, count);
    const std::string bytes = joined(parts, count);
    return write(fd, bytes.data(), bytes.size());
}

ssize_t pwritev(int fd, const iovec* parts, int count, off_t offset)
{
    static auto* const real = next<ssize_t(int, const iovec*, int, off_t)>("pwritev");
    if (!isWatched(fd))
        return real(fd, parts, count, offset);
    const std::string bytes = joined(parts, count);
    return pwrite(fd, bytes.data(), bytes.size(), offset);
}

int fsync(int fd)
{
    static auto* const real = next<int(int)>("fsync");
    return isWatched(fd) ? change("sync", [fd] { return real(fd); }, {inodeOf(fd)}) : real(fd);
}

int fdatasync(int fd)
{
    static auto* const real = next<int(int)>("fdatasync");
    return isWatched(fd) ? change("sync", [fd] { return real(fd); }, {inodeOf(fd)}) : real(fd);
}

int syncfs(int fd) noexcept
{
    static auto* const real = next<int(int)>("syncfs");
    return isWatched(fd) ? change("syncall", [fd] { return real(fd); }, {}) : real(fd);
}

int sync_file_range(int fd, off_t offset, off_t size, unsigned flags)
{
    static auto* const real = next<int(int, off_t, off_t, unsigned)>("sync_file_range");
    const auto make = [=] { return real(fd, offset, size, flags); };
    return isWatched(fd) ? change("writeback", make, {}) : make();
}

int rename(const char* from, const char* to) noexcept
{
    static auto* const real = next<int(const char*, const char*)>("rename");
    return changeName(
        "rename", pathAt(AT_FDCWD, from), pathAt(AT_FDCWD, to), [=] { return real(from, to); });
}

int renameat(int fromFolder, const char* from, int toFolder, const char* to) noexcept
{
    static auto* const real = next<int(int, const char*, int, const char*)>("renameat");
    return changeName("rename", pathAt(fromFolder, from), pathAt(toFolder, to),
        [=] { return real(fromFolder, from, toFolder, to); });
}

int renameat2(
    int fromFolder, const char* from, int toFolder, const char* to, unsigned flags) noexcept
{
    static auto* const real = next<int(int, const char*, int, const char*, unsigned)>("renameat2");
    return changeName("rename", pathAt(fromFolder, from), pathAt(toFolder, to),
        [=] { return real(fromFolder, from, toFolder, to, flags); });
}

int link(const char* from, const char* to) noexcept
{
    static auto* const real = next<int(const char*, const char*)>("link");
    return changeName(
        "link", pathAt(AT_FDCWD, from), pathAt(AT_FDCWD, to), [=] { return real(from, to); });
}

int linkat(int fromFolder, const char* from, int toFolder, const char* to, int flags) noexcept
{
    static auto* const real = next<int(int, const char*, int, const char*, int)>("linkat");
    return changeName("link", pathAt(fromFolder, from), pathAt(toFolder, to),
        [=] { return real(fromFolder, from, toFolder, to, flags); });
}

int unlink(const char* path) noexcept
{
    static auto* const real = next<int(const char*)>("unlink");
    return removeName(pathAt(AT_FDCWD, path), [path] { return real(path); });
}

int unlinkat(int folder, const char* path, int flags) noexcept
{
    static auto* const real = next<int(int, const char*, int)>("unlinkat");
    return removeName(pathAt(folder, path), [=] { return real(folder, path, flags); });
}

int remove(const char* path) noexcept
{
    static auto* const real = next<int(const char*)>("remove");
    return removeName(pathAt(AT_FDCWD, path), [path] { return real(path); });
}

int rmdir(const char* path) noexcept
{
    static auto* const real = next<int(const char*)>("rmdir");
    return removeName(pathAt(AT_FDCWD, path), [path] { return real(path); });
}

int mkdir(const char* path, mode_t mode) noexcept
{
    static auto* const real = next<int(const char*, mode_t)>("mkdir");
    return makeFolder(pathAt(AT_FDCWD, path), [=] { return real(path, mode); });
}

int mkdirat(int folder, const char* path, mode_t mode) noexcept
{
    static auto* const real = next<int(int, const char*, mode_t)>("mkdirat");
    return makeFolder(pathAt(folder, path), [=] { return real(folder, path, mode); });
}

int truncate(const char* path, off_t size) noexcept
{
    static auto* const real = next<int(const char*, off_t)>("truncate");
    const std::string absolute = pathAt(AT_FDCWD, path);
    const auto make = [=] { return real(path, size); };
    const bool watched = CrashPlan::get().watches(absolute);
    return watched ? changeSize(inodeOf(absolute), size, make) : make();
}

int truncate64(const char* path, off_t size) noexcept
{
    return truncate(path, size);
}

int ftruncate(int fd, off_t size) noexcept
{
    static auto* const real = next<int(int, off_t)>("ftruncate");
    const auto make = [=] { return real(fd, size); };
    return isWatched(fd) ? changeSize(inodeOf(fd), size, make) : make();
}

int ftruncate64(int fd, off_t size) noexcept
{
    return ftruncate(fd, size);
}

int openat(int folder, const char* path, int flags, ...)
{
    static auto* const real = next<int(int, const char*, int, ...)>("openat");
    va_list arguments; // NOLINT(cppcoreguidelines-init-variables)
    va_start(arguments, flags);
    const mode_t mode = modeIn(flags, arguments);
    va_end(arguments);
    return openFile(pathAt(folder, path), flags, [=] { return real(folder, path, flags, mode); });
}

int openat64(int folder, const char* path, int flags, ...)
{
    va_list arguments; // NOLINT(cppcoreguidelines-init-variables)
    va_start(arguments, flags);
    const mode_t mode = modeIn(flags, arguments);
    va_end(arguments);
    return openat(folder, path, flags, mode);
}

int open(const char* path, int flags, ...)
{
    va_list arguments; // NOLINT(cppcoreguidelines-init-variables)
    va_start(arguments, flags);
    const mode_t mode = modeIn(flags, arguments);
    va_end(arguments);
    return openat(AT_FDCWD, path, flags, mode);
}

int open64(const char* path, int flags, ...)
{
    va_list arguments; // NOLINT(cppcoreguidelines-init-variables)
    va_start(arguments, flags);
    const mode_t mode = modeIn(flags, arguments);
    va_end(arguments);
    return openat(AT_FDCWD, path, flags, mode);
}

int creat(const char* path, mode_t mode)
{
    return openat(AT_FDCWD, path, O_WRONLY | O_CREAT | O_TRUNC, mode);
}

int mkstemp(char* name)
{
    static auto* const real = next<int(char*)>("mkstemp");
    return openTemporary(name, [name] { return real(name); });
}

int mkstemp64(char* name)
{
    return mkstemp(name);
}

int clock_gettime(clockid_t clock, timespec* time) noexcept
{
    static auto* const real = next<int(clockid_t, timespec*)>("clock_gettime");
    const int result = real(clock, time);
    if (clock == CLOCK_MONOTONIC && result == 0)
        time->tv_sec += CrashPlan::get().clockOffset();
    return result;
}

int mkostemp(char* name, int flags)
{
    static auto* const real = next<int(char*, int)>("mkostemp");
    return openTemporary(name, [=] { return real(name, flags); });
}
}
