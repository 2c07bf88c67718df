#include "cli/Pager.h"

#include <QStandardPaths>

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <iterator>
#include <optional>
#include <string>
#include <utility>

extern char** environ; // NOLINT(readability-redundant-declaration): macOS does not declare it

namespace korvane {

namespace {

constexpr std::array ignored = {SIGINT, SIGQUIT, SIGPIPE};

struct Pipe {
    Descriptor read;
    Descriptor write;
};

std::optional<Pipe> newPipe()
{
    int ends[2];
    if (::pipe(ends) != 0)
        return std::nullopt;
    Pipe pipe{Descriptor(ends[0]), Descriptor(ends[1])};
    ::fcntl(ends[0], F_SETFD, FD_CLOEXEC);
    ::fcntl(ends[1], F_SETFD, FD_CLOEXEC);
    return pipe;
}

/// The user's choice or, without one, less if it is installed; otherwise "".
std::string chosenCommand()
{
    const char* const chosen = std::getenv("PAGER");
    if (chosen != nullptr)
        return chosen;
    const bool hasLess = !QStandardPaths::findExecutable(QStringLiteral("less")).isEmpty();
    return hasLess ? "less" : "";
}

/// Starts a shell command whose standard input is `input`. Absent if that fails.
std::optional<pid_t> spawned(const std::string& command, const Descriptor& input)
{
    posix_spawn_file_actions_t actions;
    ::posix_spawn_file_actions_init(&actions);
    ::posix_spawn_file_actions_adddup2(&actions, input.get(), STDIN_FILENO);
    std::string shell = "sh";
    std::string option = "-c";
    std::string text = command;
    char* arguments[] = {shell.data(), option.data(), text.data(), nullptr};
    pid_t process = 0;
    const int error = ::posix_spawn(&process, "/bin/sh", &actions, nullptr, arguments, environ);
    ::posix_spawn_file_actions_destroy(&actions);
    return error == 0 ? std::optional(process) : std::nullopt;
}

} // namespace

struct Pager::IgnoredSignals::Actions {
    std::array<struct sigaction, ignored.size()> actions;
};

Pager::IgnoredSignals::IgnoredSignals() : m_before(std::make_unique<Actions>())
{
    struct sigaction ignore { };
    ignore.sa_handler = SIG_IGN;
    for (std::size_t i = 0; i < ignored.size(); ++i)
        ::sigaction(ignored[i], &ignore, &m_before->actions[i]);
}

Pager::IgnoredSignals::~IgnoredSignals()
{
    for (std::size_t i = 0; i < ignored.size(); ++i)
        ::sigaction(ignored[i], &m_before->actions[i], nullptr);
}

Pager::Buffer::Buffer(int descriptor) : m_descriptor(descriptor)
{
    setp(std::begin(m_bytes), std::end(m_bytes));
}

Pager::Buffer::int_type Pager::Buffer::overflow(int_type character)
{
    if (sync() != 0)
        return traits_type::eof();
    if (!traits_type::eq_int_type(character, traits_type::eof()))
        sputc(traits_type::to_char_type(character));
    return traits_type::not_eof(character);
}

int Pager::Buffer::sync()
{
    const char* next = pbase();
    while (next < pptr()) {
        const ssize_t count = ::write(m_descriptor, next, static_cast<std::size_t>(pptr() - next));
        if (count < 0 && errno != EINTR)
            return -1;
        next += count > 0 ? count : 0;
    }
    setp(std::begin(m_bytes), std::end(m_bytes));
    return 0;
}

Pager::Pager(std::string command, pid_t process, Descriptor pipe)
    : m_command(std::move(command))
    , m_process(process)
    , m_pipe(std::move(pipe))
    , m_buffer(m_pipe.get())
    , m_stream(&m_buffer)
{
}

std::unique_ptr<Pager> Pager::start()
{
    const std::string command = chosenCommand();
    if (command.empty() || command == "cat")
        return nullptr;
    // Quit if it fits on one screen, show colours, and leave the text on the screen at the end.
    ::setenv("LESS", "FRX", 0);
    ::setenv("LESSCHARSET", "utf-8", 0);
    auto pipe = newPipe();
    const auto process = pipe ? spawned(command, pipe->read) : std::nullopt;
    if (!process)
        return nullptr;
    return std::unique_ptr<Pager>(new Pager(command, *process, std::move(pipe->write)));
}

Pager::~Pager()
{
    if (m_pipe)
        close();
}

bool Pager::close()
{
    constexpr int notExecutable = 126; // exit codes of shells
    constexpr int notFound = 127;
    m_stream.flush();
    m_pipe = Descriptor();
    int status = 0;
    while (::waitpid(m_process, &status, 0) < 0 && errno == EINTR) { }
    const int code = WIFEXITED(status) ? WEXITSTATUS(status) : 0;
    return code != notExecutable && code != notFound;
}

} // namespace korvane
