#include "OutputPipe.h"

#include <QElapsedTimer>

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>

#include <array>
#include <utility>

namespace korvane {

namespace {

/// Makes a named pipe and opens it for reading, and for writing, which fill() does.
Descriptor madePipe(const std::string& path)
{
    ::mkfifo(path.c_str(), S_IRUSR | S_IWUSR);
    return Descriptor(::open(path.c_str(), O_RDWR | O_NONBLOCK | O_CLOEXEC));
}

} // namespace

OutputPipe::OutputPipe(std::string path) : m_path(std::move(path)), m_pipe(madePipe(m_path)) { }

bool OutputPipe::prints(const std::string& text)
{
    constexpr int timeout = 10'000;
    QElapsedTimer timer;
    timer.start();
    while (m_printed.find(text) == m_printed.npos && timer.elapsed() < timeout)
        readSome();
    return m_printed.find(text) != m_printed.npos;
}

void OutputPipe::readSome()
{
    constexpr int moment = 100;
    pollfd readable{m_pipe.get(), POLLIN, 0};
    ::poll(&readable, 1, moment);
    std::array<char, 65'536> bytes;
    const ssize_t count = ::read(m_pipe.get(), bytes.data(), bytes.size());
    if (count > 0)
        m_printed.append(bytes.data(), static_cast<std::size_t>(count));
}

void OutputPipe::fill() const
{
    const std::string much(65'536, '\n');
    for (std::size_t size = much.size(); size > 0; size /= 2) {
        while (::write(m_pipe.get(), much.data(), size) > 0) { }
    }
}

} // namespace korvane
