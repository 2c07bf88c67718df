#include "storage/Folder.h"

#include "storage/Files.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <memory>
#include <system_error>

namespace korvane {

namespace {

void require(bool succeeded)
{
    if (!succeeded)
        throw std::system_error(errno, std::generic_category());
}

struct CloseDirectory {
    void operator()(DIR* directory) const { ::closedir(directory); }
};

Descriptor opened(const char* path, int folder = AT_FDCWD)
{
    return Descriptor(::openat(folder, path, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
}

} // namespace

std::optional<Folder> Folder::open(const std::filesystem::path& path)
{
    Descriptor descriptor = opened(path.c_str());
    const bool isNone = !descriptor && (errno == ENOENT || errno == ENOTDIR || errno == ELOOP);
    if (isNone)
        return std::nullopt;
    require(static_cast<bool>(descriptor));
    return Folder(std::move(descriptor));
}

Folder Folder::openOrCreate(const std::filesystem::path& path)
{
    require(::mkdir(path.c_str(), 0777) == 0 || errno == EEXIST);
    Descriptor descriptor = opened(path.c_str());
    require(static_cast<bool>(descriptor));
    return Folder(std::move(descriptor));
}

std::vector<std::string> Folder::names() const
{
    Descriptor copy = opened(".", m_descriptor.get());
    require(static_cast<bool>(copy));
    const std::unique_ptr<DIR, CloseDirectory> directory(::fdopendir(copy.release()));
    require(directory != nullptr);
    std::vector<std::string> names;
    while (const dirent* entry = ::readdir(directory.get())) {
        const std::string name = entry->d_name;
        if (name != "." && name != "..")
            names.push_back(name);
    }
    std::ranges::sort(names);
    return names;
}

bool Folder::contains(const std::string& name) const
{
    struct stat info { };
    const bool exists
        = ::fstatat(m_descriptor.get(), name.c_str(), &info, AT_SYMLINK_NOFOLLOW) == 0;
    require(exists || errno == ENOENT);
    return exists;
}

std::optional<FileReader> Folder::file(const std::string& name) const
{
    return FileReader::open(m_descriptor, name);
}

void Folder::moveIn(const std::filesystem::path& file, const std::string& name) const
{
    require(::renameat(AT_FDCWD, file.c_str(), m_descriptor.get(), name.c_str()) == 0);
}

void Folder::rename(const std::string& name, const std::string& newName) const
{
    const int here = m_descriptor.get();
    require(::renameat(here, name.c_str(), here, newName.c_str()) == 0);
}

void Folder::moveOut(const std::string& name, const std::filesystem::path& file) const
{
    require(::renameat(m_descriptor.get(), name.c_str(), AT_FDCWD, file.c_str()) == 0);
}

void Folder::remove(const std::string& name) const
{
    require(::unlinkat(m_descriptor.get(), name.c_str(), 0) == 0);
}

void Folder::flush() const
{
    Files::flush(m_descriptor);
}

} // namespace korvane
