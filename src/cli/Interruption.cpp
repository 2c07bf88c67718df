#include "cli/Interruption.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <system_error>

namespace korvane {

namespace {

using Clock = std::chrono::steady_clock;

// What a signal handler may touch: a flag, and a pipe that wakes a sleeper.
volatile std::sig_atomic_t received = 0;
std::array<int, 2> wakeUp = {-1, -1};

void handle(void (*handler)(int))
{
    struct sigaction action { };
    action.sa_handler = handler;
    action.sa_flags = SA_RESTART; // what is being written is written to the end
    for (const int signal : {SIGINT, SIGTERM, SIGHUP})
        ::sigaction(signal, &action, nullptr);
}

void onSignal(int)
{
    const int before = errno;
    handle(SIG_DFL); // the next one kills
    received = 1;
    [[maybe_unused]] const auto written = ::write(wakeUp[1], "", 1);
    errno = before;
}

} // namespace

Interruption::Interruption()
{
    if (::pipe(wakeUp.data()) != 0)
        throw std::system_error(errno, std::generic_category());
    for (const int end : wakeUp) {
        ::fcntl(end, F_SETFD, FD_CLOEXEC);
        ::fcntl(end, F_SETFL, O_NONBLOCK);
    }
    received = 0;
    handle(onSignal);
}

Interruption::~Interruption()
{
    handle(SIG_DFL);
    ::close(wakeUp[0]);
    ::close(wakeUp[1]);
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
        pollfd wake{wakeUp[0], POLLIN, 0};
        ::poll(&wake, 1, static_cast<int>(std::min(left, longest).count()));
    }
}

} // namespace korvane
