#include "crash/CrashPlan.h"

#include <fcntl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <sstream>

namespace korvane {

namespace {

std::string variable(const char* name)
{
    const char* const value = std::getenv(name);
    return value ? value : "";
}

} // namespace

std::string inHexadecimal(std::string_view bytes)
{
    constexpr std::string_view digits = "0123456789abcdef";
    std::string text;
    for (const char byte : bytes) {
        text += digits[static_cast<unsigned char>(byte) >> 4U];
        text += digits[static_cast<unsigned char>(byte) & 15U];
    }
    return text.empty() ? "-" : text;
}

CrashPlan& CrashPlan::get()
{
    static auto* const plan = new CrashPlan; // never destroyed: exit handlers write files, too
    return *plan;
}

CrashPlan::CrashPlan()
    : m_at(std::atoll(variable("KORVANE_CRASH_AT").c_str()))
    , m_how(variable("KORVANE_CRASH_HOW"))
    , m_clockStep(std::atoll(variable("KORVANE_CRASH_CLOCK").c_str()))
{
    std::istringstream folders(variable("KORVANE_CRASH_FOLDERS"));
    for (std::string folder; std::getline(folders, folder, ':');)
        m_folders.push_back(folder);
    m_log = static_cast<int>(::syscall(SYS_openat, AT_FDCWD, variable("KORVANE_CRASH_LOG").c_str(),
        O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600));
}

std::unique_lock<std::recursive_mutex> CrashPlan::lock()
{
    return std::unique_lock(m_mutex);
}

bool CrashPlan::watches(const std::string& path) const
{
    return std::any_of(m_folders.begin(), m_folders.end(), [&path](const std::string& folder) {
        return path == folder || path.starts_with(folder + '/');
    });
}

CrashPlan::Fate CrashPlan::number(Space space)
{
    ++m_count;
    const bool isFull = m_how == "full" && space == Space::IsNeeded && m_at > 0 && m_count >= m_at;
    if (isFull || (m_count == m_at && m_how == "error")) {
        errno = isFull ? ENOSPC : EIO;
        return Fate::Fails;
    }
    if (m_count == m_at && m_how == "before")
        die();
    return m_count == m_at && m_how == "middle" ? Fate::IsTorn : Fate::Succeeds;
}

std::int64_t CrashPlan::clockOffset()
{
    const auto held = lock();
    return m_clockOffset += m_clockStep;
}

void CrashPlan::log(const char* kind, std::initializer_list<std::string> arguments) const
{
    std::string line = std::to_string(m_count) + ' ' + kind;
    for (const std::string& argument : arguments)
        line += ' ' + argument;
    line += '\n';
    ::syscall(SYS_write, m_log, line.data(), line.size());
}

void CrashPlan::die()
{
    ::kill(::getpid(), SIGKILL);
    for (;;)
        ::pause();
}

} // namespace korvane
