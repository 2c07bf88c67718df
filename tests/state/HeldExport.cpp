#include "state/HeldExport.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>

namespace korvane {

namespace {

std::string contentsOf(const std::filesystem::path& file)
{
    return std::filesystem::exists(file) ? readFile(file) : "";
}

} // namespace

HeldExport::HeldExport(const ExportSetup& files)
    : m_file(files.stateFile())
    , m_contents(contentsOf(m_file))
{
    std::filesystem::remove(m_file);
    if (::mkfifo(m_file.c_str(), S_IRUSR | S_IWUSR) != 0)
        throw std::system_error(errno, std::generic_category());
}

HeldExport::~HeldExport()
{
    if (m_pipe || isReached())
        release();
}

bool HeldExport::isReached()
{
    if (!m_pipe) // without a reader there is no opening it
        m_pipe = Descriptor(::open(m_file.c_str(), O_WRONLY | O_NONBLOCK | O_CLOEXEC));
    return static_cast<bool>(m_pipe);
}

void HeldExport::release()
{
    if (::write(m_pipe.get(), m_contents.data(), m_contents.size()) < 0)
        throw std::system_error(errno, std::generic_category());
    m_pipe = Descriptor();
}

} // namespace korvane
