#include "app/SingleInstance.h"

#include "storage/Paths.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>

#include <array>
#include <cerrno>

namespace korvane {

namespace {

constexpr mode_t ownerOnly = S_IRUSR | S_IWUSR;

Descriptor openedPipe(const std::filesystem::path& path)
{
    ::mkfifo(path.c_str(), ownerOnly);
    Descriptor opened(::open(path.c_str(), O_RDWR | O_NONBLOCK | O_CLOEXEC | O_NOFOLLOW));
    struct stat status { };
    const bool isPipe = opened && ::fstat(opened.get(), &status) == 0 && S_ISFIFO(status.st_mode);
    return isPipe ? std::move(opened) : Descriptor();
}

Descriptor openedLock(const std::filesystem::path& path)
{
    return Descriptor(::open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, ownerOnly));
}

bool isHeldByAnother(const Descriptor& lock)
{
    return lock && ::flock(lock.get(), LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK;
}

} // namespace

SingleInstance::SingleInstance()
    : m_requests(openedPipe(Paths::support() / "window.pipe"))
    , m_lock(openedLock(Paths::support() / "window.lock"))
{
    if (!m_requests)
        return;
    m_askedFirst = isHeldByAnother(m_lock) && ::write(m_requests.get(), "s", 1) == 1;
    if (m_askedFirst)
        return;
    m_waiting = std::make_unique<QSocketNotifier>(m_requests.get(), QSocketNotifier::Read);
    connect(m_waiting.get(), &QSocketNotifier::activated, this, &SingleInstance::takeRequests);
}

void SingleInstance::takeRequests()
{
    std::array<char, 64> requests{};
    while (::read(m_requests.get(), requests.data(), requests.size()) > 0) { }
    emit showRequested();
}

} // namespace korvane
