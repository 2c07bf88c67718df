#include "cli/ReceiveCommand.h"

#include "cli/ProgressBar.h"
#include "cli/TransferClient.h"
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

fs::path chosenFile(const ReceiveOptions& options)
{
    if (!options.output && fs::exists(fs::symlink_status(usualName)))
        throw std::runtime_error(std::string(usualName)
            + ": The file exists; --output names another one, or this one to replace it.");
    return options.output.value_or(usualName);
}

/// Draws a bar once it is known how much there is to come.
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

QByteArray receive(const TransferLink& link, const Console& console)
{
    ReceivingBar bar(console);
    return TransferClient::open(link,
        TransferClient::fetch(link,
            [&bar](std::int64_t received, std::int64_t total) { bar.show(received, total); }));
}

void write(const fs::path& file, const QByteArray& text)
{
    try {
        Files::writeAtomically(file, {text.data(), static_cast<std::size_t>(text.size())});
    } catch (const std::system_error& error) {
        throw std::runtime_error(file.string() + ": " + error.code().message());
    }
}

} // namespace

int runReceive(const ReceiveOptions& options, const Console& console)
{
    const TransferLink link = givenLink(options, console);
    const fs::path file = chosenFile(options);
    const QByteArray text = receive(link, console);
    write(file, text);
    console.out << "Wrote " << text.count('\n') << " records to " << file.string() << '\n';
    return ExitCode::success;
}

} // namespace korvane
