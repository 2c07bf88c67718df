#include "app/SingleInstance.h"

#include "storage/Paths.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>

#include <array>
#include <cerrno>
#include <thread>

namespace korvane {

namespace {

constexpr mode_t ownerOnly = S_IRUSR | S_IWUSR;

std::filesystem::path pipePath()
{
    return Paths::support() / "window.pipe";
}

/// Opens the named pipe. Returns an empty Descriptor if there is none or, with O_WRONLY, if no
/// process has it open for reading (ENXIO).
Descriptor openedPipe(int mode)
{
    Descriptor opened(::open(pipePath().c_str(), mode | O_NONBLOCK | O_CLOEXEC | O_NOFOLLOW));
    struct stat status { };
    const bool isPipe = opened && ::fstat(opened.get(), &status) == 0 && S_ISFIFO(status.st_mode);
    return isPipe ? std::move(opened) : Descriptor();
}

Descriptor openedLock()
{
    const std::filesystem::path path = Paths::support() / "window.lock";
    return Descriptor(::open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, ownerOnly));
}

bool isHeldByAnother(const Descriptor& lock)
{
    return lock && ::flock(lock.get(), LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK;
}

bool askToShow()
{
    const Descriptor pipe = openedPipe(O_WRONLY);
    return pipe && ::write(pipe.get(), "s", 1) == 1;
}

} // namespace

SingleInstance::SingleInstance(std::chrono::milliseconds patience)
    : m_lock(openedLock())
    , m_place(settle(patience))
{
    if (m_place == Place::First)
        listen();
}

SingleInstance::Place SingleInstance::settle(std::chrono::milliseconds patience) const
{
    const auto end = std::chrono::steady_clock::now() + patience;
    while (isHeldByAnother(m_lock)) {
        if (askToShow())
            return Place::Second;
        if (std::chrono::steady_clock::now() >= end)
            return Place::None;
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    return Place::First;
}

void SingleInstance::listen()
{
    ::mkfifo(pipePath().c_str(), ownerOnly);
    m_requests = openedPipe(O_RDWR);
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
