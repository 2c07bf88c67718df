#include "cli/PasswordInput.h"

#include "cli/Console.h"
#include "process/Interruption.h"
#include "storage/Descriptor.h"
#include "text/TerminalText.h"

#include <fcntl.h>
#include <poll.h>
#include <termios.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <fstream>
#include <optional>
#include <system_error>

namespace korvane {

namespace {

constexpr std::size_t longestPassword = 1024;

std::string lastError()
{
    return std::generic_category().message(errno);
}

/// Reads a byte; nothing at the end. Throws std::system_error.
std::optional<char> readByte(int descriptor)
{
    char byte = 0;
    ssize_t count = 0;
    do
        count = ::read(descriptor, &byte, 1);
    while (count < 0 && errno == EINTR);
    if (count < 0)
        throw std::system_error(errno, std::generic_category());
    return count == 1 ? std::optional(byte) : std::nullopt;
}

/// Reads byte by byte, because a buffer would have to be wiped and could take what comes after the
/// line. `await` is called before each byte. Nothing if the input has ended.
template <typename Await>
std::optional<Secret> readLine(int descriptor, Await await)
{
    Secret line(longestPassword);
    std::size_t size = 0;
    std::optional<char> byte;
    for (await(); (byte = readByte(descriptor)) && *byte != '\n'; await()) {
        if (size == longestPassword)
            throw std::runtime_error("The password is too long.");
        line.bytes()[size++] = *byte;
    }
    if (size == 0 && !byte)
        return std::nullopt;
    if (size > 0 && line.bytes()[size - 1] == '\r')
        --size;
    line.shorten(size);
    return line;
}

Secret passwordFrom(int descriptor, const std::string& name)
{
    std::optional<Secret> password;
    try {
        password = readLine(descriptor, [] {});
    } catch (const std::system_error& error) {
        throw std::runtime_error(
            name + ": The password cannot be read (" + error.code().message() + ").");
    }
    if (!password)
        throw std::runtime_error(name + ": There is no password here.");
    return *std::move(password);
}

/// Where a person sees a question, even if errors go to a file.
class QuestionOutput {
public:
    explicit QuestionOutput(const Console& console) : m_console(console)
    {
        if (!console.errIsTerminal)
            m_terminal.open("/dev/tty");
    }
    std::ostream& stream() { return m_terminal.is_open() ? m_terminal : m_console.err; }

private:
    const Console& m_console;
    std::ofstream m_terminal;
};

[[noreturn]] void throwNotHidden(const std::string& reason)
{
    throw std::runtime_error("The terminal cannot hide a password (" + reason + ").");
}

/// Gives the terminal settings without echo. Returns why it still shows what is typed; "" if it
/// does not. tcsetattr() also succeeds if the terminal takes only some of the settings.
std::string applyWithoutEcho(const termios& settings)
{
    termios now{};
    if (::tcsetattr(STDIN_FILENO, TCSAFLUSH, &settings) != 0
        || ::tcgetattr(STDIN_FILENO, &now) != 0)
        return lastError();
    return (now.c_lflag & static_cast<tcflag_t>(ECHO)) != 0 ? "it keeps its echo on" : "";
}

/// Turns off the echo of the terminal that is standard input, discards what was typed so far, and
/// ends the line of the question in the end. Meanwhile its keys can interrupt the program, but
/// neither kill nor stop it: nothing would turn the echo on again.
class WithoutEcho {
public:
    explicit WithoutEcho(std::ostream& question) : m_question(question)
    {
        if (::tcgetattr(STDIN_FILENO, &m_before) != 0)
            throwNotHidden(lastError());
        termios quiet = m_before;
        quiet.c_lflag &= ~static_cast<tcflag_t>(ECHO);
        quiet.c_cc[VQUIT] = _POSIX_VDISABLE;
        quiet.c_cc[VSUSP] = _POSIX_VDISABLE;
        if (const std::string reason = applyWithoutEcho(quiet); !reason.empty()) {
            ::tcsetattr(STDIN_FILENO, TCSAFLUSH, &m_before);
            throwNotHidden(reason);
        }
    }
    ~WithoutEcho()
    {
        ::tcsetattr(STDIN_FILENO, TCSAFLUSH, &m_before);
        m_question << '\n';
    }
    WithoutEcho(const WithoutEcho&) = delete;
    WithoutEcho& operator=(const WithoutEcho&) = delete;

private:
    std::ostream& m_question;
    termios m_before{};
};

/// Waits for input. Throws InterruptedError if a signal comes first.
void awaitInput(int descriptor, const Interruption& interruption)
{
    std::array<pollfd, 2> inputs{{{descriptor, POLLIN, 0}, {interruption.descriptor(), POLLIN, 0}}};
    while (::poll(inputs.data(), inputs.size(), -1) < 0 && errno == EINTR) { }
    if (interruption.requested())
        throw InterruptedError();
}

} // namespace

Secret passwordFromFile(const std::string& path)
{
    const Descriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY));
    if (!file)
        throw std::runtime_error(path + ": The password cannot be read (" + lastError() + ").");
    return passwordFrom(file.get(), path);
}

Secret passwordFromDescriptor(int descriptor)
{
    return passwordFrom(descriptor, "Descriptor " + std::to_string(descriptor));
}

Secret askForPassword(const std::string& question, const Console& console)
{
    const Interruption interruption; // outlives the hidden echo, which a signal must not leave
    QuestionOutput output(console);
    const WithoutEcho withoutEcho(output.stream());
    output.stream() << printable(question) << ' ' << std::flush;
    auto password
        = readLine(STDIN_FILENO, [&interruption] { awaitInput(STDIN_FILENO, interruption); });
    if (!password)
        throw std::runtime_error("No password was entered.");
    return *std::move(password);
}

} // namespace korvane
