#include "app/SingleInstance.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <array>
#include <thread>

namespace korvane {

namespace {

/// Opens the named pipe. Returns an empty Descriptor if there is none or, with O_WRONLY, if no
/// process has it open for reading (ENXIO).
Descriptor openedPipe(const std::filesystem::path& path, int mode)
{
    Descriptor opened(::open(path.c_str(), mode | O_NONBLOCK | O_CLOEXEC | O_NOFOLLOW));
    struct stat status { };
    const bool isPipe = opened && ::fstat(opened.get(), &status) == 0 && S_ISFIFO(status.st_mode);
    return isPipe ? std::move(opened) : Descriptor();
}

} // namespace

SingleInstance::SingleInstance(const SupportFolder& support, std::chrono::milliseconds timeout)
    : m_pipe(support.file("window.pipe"))
    , m_lock(support.file("window.lock"))
    , m_role(settledRole(timeout))
{
    if (m_role == Role::Primary)
        listen();
}

SingleInstance::Role SingleInstance::settledRole(std::chrono::milliseconds timeout) const
{
    const auto end = std::chrono::steady_clock::now() + timeout;
    while (m_lock.tryLock() == FileLock::Outcome::HeldByAnother) {
        if (askToShow())
            return Role::Secondary;
        if (std::chrono::steady_clock::now() >= end)
            return Role::Blocked;
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    return Role::Primary;
}

bool SingleInstance::askToShow() const
{
    const Descriptor pipe = openedPipe(m_pipe, O_WRONLY);
    return pipe && ::write(pipe.get(), "s", 1) == 1;
}

void SingleInstance::listen()
{
    ::mkfifo(m_pipe.c_str(), S_IRUSR | S_IWUSR);
    m_requests = openedPipe(m_pipe, O_RDWR);
    if (!m_requests)
        return;
    m_waiting = std::make_unique<QSocketNotifier>(m_requests.get(), QSocketNotifier::Read);
    connect(m_waiting.get(), &QSocketNotifier::activated, this, &SingleInstance::takeRequests);
}

void SingleInstance::retire()
{
    m_waiting.reset();
    m_requests = Descriptor();
}

void SingleInstance::takeRequests()
{
    std::array<char, 64> requests{};
    while (::read(m_requests.get(), requests.data(), requests.size()) > 0) { }
    emit showRequested();
}

} // namespace korvane
