#include "process/RemovalOnSignal.h"

#include <unistd.h>

#include <array>
#include <atomic>
#include <csignal>
#include <utility>

namespace korvane {

namespace {

/// Those whose default action kills. The last ones report errors of the program itself.
constexpr std::array signals
    = {SIGHUP, SIGINT, SIGQUIT, SIGPIPE, SIGALRM, SIGTERM, SIGUSR1, SIGUSR2, SIGVTALRM, SIGPROF,
        SIGXCPU, SIGXFSZ, SIGABRT, SIGBUS, SIGFPE, SIGILL, SIGSEGV, SIGSYS};

std::atomic<const RemovalOnSignal*> current = nullptr;
static_assert(decltype(current)::is_always_lock_free, "a signal handler reads it");

using Handler = void (*)(int);

struct sigaction actionOf(int signal)
{
    struct sigaction action { };
    ::sigaction(signal, nullptr, &action);
    return action;
}

void setHandler(int signal, Handler handler)
{
    struct sigaction action { };
    action.sa_handler = handler;
    action.sa_flags = static_cast<int>(SA_RESETHAND); // what is raised again kills
    ::sigaction(signal, &action, nullptr);
}

} // namespace

RemovalOnSignal::RemovalOnSignal(std::vector<std::string> files, std::string folder)
    : m_files(std::move(files))
    , m_folder(std::move(folder))
{
    current = this;
    for (const int signal : signals) {
        if (actionOf(signal).sa_handler == SIG_DFL)
            setHandler(signal, onSignal);
    }
}

RemovalOnSignal::~RemovalOnSignal()
{
    current = nullptr;
    for (const int signal : signals) {
        if (actionOf(signal).sa_handler == onSignal)
            setHandler(signal, SIG_DFL);
    }
}

/// Calls only functions that POSIX lets a signal handler call. The strings do not change while
/// `current` refers to them.
void RemovalOnSignal::onSignal(int signal)
{
    if (const RemovalOnSignal* removal = current) {
        for (const std::string& file : removal->m_files)
            ::unlink(file.c_str());
        ::rmdir(removal->m_folder.c_str());
    }
    ::raise(signal); // blocked until this function returns
}

} // namespace korvane
