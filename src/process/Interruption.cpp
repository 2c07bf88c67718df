#include "process/Interruption.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstddef>
#include <system_error>

namespace korvane {

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::array signals = {SIGINT, SIGTERM, SIGHUP};
std::array<struct sigaction, signals.size()> previousActions;
constexpr std::size_t sigint = 0; // its place in both arrays

// Self-pipe trick: a signal handler may only set a flag and write one byte; the byte wakes poll().
volatile std::sig_atomic_t received = 0;
int writeEnd = -1;

/// The previous action kills, and may remove files first (see RemovalOnSignal).
void killAtNextSigint()
{
    ::sigaction(SIGINT, &previousActions[sigint], nullptr);
}

void onSignal(int signal)
{
    const int before = errno;
    if (signal == SIGINT)
        killAtNextSigint();
    if (received == 0) {
        received = 1;
        [[maybe_unused]] const auto written = ::write(writeEnd, "", 1);
    }
    errno = before;
}

void handleSignals()
{
    struct sigaction action { };
    action.sa_handler = onSignal;
    action.sa_flags = SA_RESTART; // interrupted reads and writes go on, without EINTR
    for (std::size_t i = 0; i < signals.size(); ++i) {
        ::sigaction(signals[i], nullptr, &previousActions[i]);
        if (previousActions[i].sa_handler != SIG_IGN)
            ::sigaction(signals[i], &action, nullptr);
    }
}

} // namespace

Interruption::Interruption()
{
    std::array<int, 2> ends{};
    if (::pipe(ends.data()) != 0)
        throw std::system_error(errno, std::generic_category());
    for (const int end : ends) {
        ::fcntl(end, F_SETFD, FD_CLOEXEC);
        ::fcntl(end, F_SETFL, O_NONBLOCK);
    }
    m_readEnd = Descriptor(ends[0]);
    writeEnd = ends[1];
    received = 0;
    handleSignals();
}

Interruption::~Interruption()
{
    for (std::size_t i = 0; i < signals.size(); ++i)
        ::sigaction(signals[i], &previousActions[i], nullptr);
    ::close(writeEnd);
}

bool Interruption::requested() const
{
    return received != 0;
}

void Interruption::sleep(std::chrono::duration<double> duration) const
{
    const auto end = Clock::now() + std::chrono::ceil<std::chrono::milliseconds>(duration);
    while (!requested() && Clock::now() < end) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - Clock::now());
        const auto longest = std::chrono::milliseconds(std::chrono::hours(1));
        pollfd wake{descriptor(), POLLIN, 0};
        ::poll(&wake, 1, static_cast<int>(std::min(left, longest).count()));
    }
}

} // namespace korvane
