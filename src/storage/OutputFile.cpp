#include "storage/OutputFile.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>
#include <system_error>

namespace korvane {

OutputFile::OutputFile(
    const std::filesystem::path& file) // O_NONBLOCK: a pipe without a reader fails
    : m_descriptor(
        ::open(file.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC | O_NONBLOCK, 0666))
{
    if (!m_descriptor)
        throw std::system_error(errno, std::generic_category());
}

void OutputFile::append(std::string_view bytes)
{
    while (!bytes.empty()) {
        const ssize_t count = ::write(m_descriptor.get(), bytes.data(), bytes.size());
        if (count >= 0)
            bytes.remove_prefix(static_cast<std::size_t>(count));
        else if (errno != EINTR)
            throw std::system_error(errno, std::generic_category());
    }
}

} // namespace korvane
