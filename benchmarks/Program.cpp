#include "Program.h"

#include "FirstPaint.h"

#include "storage/Descriptor.h"

#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <stdexcept>
#include <utility>

namespace korvane {

namespace {

using Clock = std::chrono::steady_clock;

void require(bool good, const std::string& what)
{
    if (!good)
        throw std::runtime_error(what);
}

std::pair<Descriptor, Descriptor> channel()
{
    int ends[2];
    require(::pipe(ends) == 0, "no pipe");
    return {Descriptor(ends[0]), Descriptor(ends[1])};
}

void askForPaint(const Descriptor& told, const char* wanted)
{
    ::setenv("LD_PRELOAD", KORVANE_FIRST_PAINT, 1);
    ::setenv(FirstPaint::channel, std::to_string(told.get()).c_str(), 1);
    ::setenv(FirstPaint::wanted, wanted, 1);
}

Clock::time_point timeFrom(const Descriptor& channel)
{
    constexpr int patience = 30'000; // milliseconds
    pollfd waiting{.fd = channel.get(), .events = POLLIN, .revents = 0};
    Clock::rep time = 0;
    require(::poll(&waiting, 1, patience) == 1
            && ::read(channel.get(), &time, sizeof time) == sizeof time,
        "a window was not painted");
    return Clock::time_point(Clock::duration(time));
}

} // namespace

Program::Program(const std::vector<std::string>& words)
{
    std::vector<char*> arguments;
    arguments.reserve(words.size() + 1);
    for (const std::string& word : words)
        arguments.push_back(const_cast<char*>(word.c_str()));
    arguments.push_back(nullptr);
    const int failure
        = ::posix_spawn(&m_id, arguments[0], nullptr, nullptr, arguments.data(), environ);
    require(failure == 0, "cannot start " + words.front());
}

Program::~Program()
{
    if (m_id == 0)
        return;
    ::kill(m_id, SIGKILL);
    ::waitpid(m_id, nullptr, 0);
}

void Program::wait()
{
    int status = 0;
    ::waitpid(std::exchange(m_id, 0), &status, 0);
    require(status == 0, "a program failed");
}

double secondsToPaint(const std::vector<std::string>& words, const char* wanted)
{
    auto [told, telling] = channel();
    askForPaint(telling, wanted);
    const auto start = Clock::now();
    Program program(words);
    telling = Descriptor();
    const auto end = timeFrom(told);
    program.wait();
    return std::chrono::duration<double>(end - start).count();
}

} // namespace korvane
