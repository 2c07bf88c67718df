#include "state/HeldExport.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <system_error>

namespace korvane {

HeldExport::HeldExport(const std::filesystem::path& stateFile)
    : m_file(::open(stateFile.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, S_IRUSR | S_IWUSR))
{
    std::signal(SIGIO, SIG_IGN); // sent when the lease is to be broken; isReached() polls
    if (!m_file || ::fcntl(m_file.get(), F_SETLEASE, F_WRLCK) != 0)
        throw std::system_error(errno, std::generic_category());
}

HeldExport::~HeldExport()
{
    release();
}

bool HeldExport::isReached()
{
    return m_file && ::fcntl(m_file.get(), F_GETLEASE) != F_WRLCK;
}

void HeldExport::release()
{
    if (m_file)
        ::fcntl(m_file.get(), F_SETLEASE, F_UNLCK);
    m_file = Descriptor();
}

} // namespace korvane
