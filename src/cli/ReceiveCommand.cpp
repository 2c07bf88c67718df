#include "cli/ReceiveCommand.h"

#include "cli/Console.h"
#include "storage/Files.h"

#include <filesystem>
#include <stdexcept>
#include <system_error>

namespace korvane {

namespace fs = std::filesystem;

namespace {

constexpr auto usualName = "Korvane-History.txt";

TransferLink givenLink(const ReceiveOptions& options, const Console& console)
{
    std::string text = options.link;
    if (text.empty() || text == "-")
        std::getline(console.in, text);
    auto link = TransferLink::fromString(text);
    if (!link)
        throw std::runtime_error("This is not a transfer link. It begins with korvane:// and is "
                                 "best put in quotes.");
    return std::move(*link);
}

/// Where the chat goes. An existing file is replaced only if --output names it.
struct Destination {
    fs::path file;
    Files::Existing existing;
};

[[noreturn]] void throwExists(const fs::path& file)
{
    throw std::runtime_error(file.string()
        + ": The file exists; use --output to name another one, or this one to replace it.");
}

Destination destination(const ReceiveOptions& options)
{
    if (options.output) {
        std::error_code ignored; // other errors are reported by the write
        if (fs::is_other(*options.output, ignored))
            throw std::runtime_error(*options.output + ": This is a device or a pipe, not a file.");
        return {*options.output, Files::Existing::Replace};
    }
    if (fs::exists(fs::symlink_status(usualName)))
        throwExists(usualName); // fail before anything is fetched
    return {usualName, Files::Existing::Keep};
}

/// Draws a progress bar once the size of the body is known.
class ReceivingBar {
public:
    explicit ReceivingBar(const Console& console) : m_console(console) { }

    void show(std::int64_t received, std::int64_t total)
    {
        if (!m_bar && total > 0)
            m_bar.emplace(m_console.err, m_console.errIsTerminal, total);
        if (m_bar)
            m_bar->show(received, "Receiving");
    }

private:
    const Console& m_console;
    std::optional<ProgressBar> m_bar;
};

QByteArray receive(
    const TransferLink& link, const TransferClient::Limits& limits, const Console& console)
{
    ReceivingBar bar(console);
    const auto show
        = [&bar](std::int64_t received, std::int64_t total) { bar.show(received, total); };
    return TransferClient::open(link, TransferClient::fetch(link, show, limits));
}

void write(const Destination& to, const QByteArray& text)
{
    try {
        Files::writeWhole(
            to.file, {text.data(), static_cast<std::size_t>(text.size())}, to.existing);
    } catch (const std::system_error& error) {
        if (error.code() == std::errc::file_exists)
            throwExists(to.file);
        throw std::runtime_error(to.file.string() + ": " + error.code().message());
    }
}

} // namespace

int runReceive(const ReceiveOptions& options, const Console& console)
{
    const TransferLink link = givenLink(options, console);
    const Destination to = destination(options);
    const QByteArray text = receive(link, options.limits, console);
    write(to, text);
    console.out << "Wrote " << text.count('\n') << " records to " << to.file.string() << '\n';
    return ExitCode::success;
}

} // namespace korvane
