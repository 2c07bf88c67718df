#include "export/Child.h"

#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cstddef>
#include <exception>
#include <stdexcept>

namespace korvane {

namespace {

constexpr unsigned nobody = 65534;

[[noreturn]] void answer(int pipe, const std::function<std::string()>& work)
{
    std::string text;
    try {
        text = work();
    } catch (const std::exception& error) {
        text = std::string("threw ") + error.what();
    }
    const ssize_t written = ::write(pipe, text.data(), text.size());
    ::_exit(written == static_cast<ssize_t>(text.size()) ? 0 : 1);
}

std::string everythingFrom(int pipe)
{
    std::string text;
    std::array<char, 4096> part{};
    for (ssize_t count = 0; (count = ::read(pipe, part.data(), part.size())) > 0;)
        text.append(part.data(), static_cast<std::size_t>(count));
    return text;
}

} // namespace

std::string inChild(const std::function<std::string()>& work)
{
    std::array<int, 2> ends{};
    if (::pipe(ends.data()) != 0)
        throw std::runtime_error("no pipe");
    const pid_t child = ::fork();
    if (child < 0)
        throw std::runtime_error("no child");
    if (child == 0) {
        ::close(ends[0]);
        answer(ends[1], work);
    }
    ::close(ends[1]);
    const std::string text = everythingFrom(ends[0]);
    ::close(ends[0]);
    int status = 0;
    ::waitpid(child, &status, 0);
    return WIFEXITED(status) && WEXITSTATUS(status) == 0 ? text : "(died)";
}

std::string inUnprivilegedChild(const std::function<std::string()>& work)
{
    return inChild([&work]() -> std::string {
        const bool dropped = ::geteuid() != 0 || (::setgid(nobody) == 0 && ::setuid(nobody) == 0);
        return dropped ? work() : "(still privileged)";
    });
}

} // namespace korvane
