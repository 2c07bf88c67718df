#include "storage/Draft.h"

#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <system_error>

namespace korvane {

namespace fs = std::filesystem;

namespace {

[[noreturn]] void throwSystemError()
{
    throw std::system_error(errno, std::generic_category());
}

} // namespace

Draft::Draft(const fs::path& file)
    : m_path(file.native() + ".XXXXXX")
    , m_descriptor(::mkstemp(m_path.data()))
{
    if (!m_descriptor)
        throwSystemError();
}

Draft::~Draft()
{
    ::unlink(m_path.c_str());
}

void Draft::giveName(const fs::path& file, Files::Existing existing) const
{
    if (existing == Files::Existing::Keep && ::link(m_path.c_str(), file.c_str()) == 0)
        return;
    // link() fails if the name is taken, but also on file systems without hard links. There, a
    // file that is created between this check and rename() is replaced.
    if (existing == Files::Existing::Keep && fs::exists(fs::symlink_status(file)))
        throw std::system_error(std::make_error_code(std::errc::file_exists));
    if (::rename(m_path.c_str(), file.c_str()) != 0)
        throwSystemError();
}

} // namespace korvane
