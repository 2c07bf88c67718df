#include "cli/TransferCommand.h"

#include "cli/BackgroundPrinter.h"
#include "cli/BackupSource.h"
#include "cli/Console.h"
#include "cli/ExportCommand.h"
#include "cli/TransferOutput.h"
#include "contacts/ContactNames.h"
#include "export/Exporter.h"
#include "export/KeptText.h"
#include "pairing/LocalAddress.h"
#include "pairing/QrCode.h"
#include "process/Interruption.h"
#include "server/SyncServer.h"
#include "server/Transfer.h"
#include "storage/SupportLock.h"
#include "text/TerminalText.h"
#include "text/Utf8.h"

#include <QDateTime>

#include <future>
#include <memory>
#include <mutex>

namespace korvane {

namespace {

using Moment = TransferTicket::Clock::time_point;

std::string timeOfDay(Moment moment)
{
    const auto sinceEpoch
        = std::chrono::floor<std::chrono::milliseconds>(moment.time_since_epoch());
    return QDateTime::fromMSecsSinceEpoch(sinceEpoch.count())
        .toString(QStringLiteral("HH:mm"))
        .toStdString();
}

ChatInfo chosenChat(const TransferOptions& options)
{
    ChatSelection selection = selectChats(readChats(options.sources), {options.chat});
    if (selection.chats.empty())
        throw TransferError("There is no chat with the guid " + repairedUtf8(options.chat) + ".");
    return std::move(selection.chats.front());
}

/// Prints what happens to the file. Thread-safe. A reader who has stopped does not block the caller
/// (see BackgroundPrinter).
class FetchReport {
public:
    explicit FetchReport(const Console& console) : m_log(FetchLog::Clock::now()), m_printer(console)
    {
    }

    void tell(const TransferEvent& event)
    {
        const std::lock_guard lock(m_lock);
        say(m_log.add(event, FetchLog::Clock::now()));
    }

    void tell(const std::string& text) { m_printer.print(text + '\n'); }

    /// Prints a line about the fetches that got none, if it is due. Call this regularly.
    void summarize()
    {
        const std::lock_guard lock(m_lock);
        say(m_log.summary(FetchLog::Clock::now()));
    }

    void end(const std::string& text)
    {
        const std::lock_guard lock(m_lock);
        say(m_log.lastSummary());
        tell(text);
    }

    /// True while a fetch is under way.
    bool isBusy() const
    {
        const std::lock_guard lock(m_lock);
        return m_log.underWay() > 0;
    }

    bool isPrintedWithin(std::chrono::milliseconds time) const
    {
        return m_printer.isDoneWithin(time);
    }

private:
    void say(const std::string& what)
    {
        if (!what.empty())
            tell(timeOfDay(TransferTicket::Clock::now()) + "  " + what);
    }

    mutable std::mutex m_lock;
    FetchLog m_log; ///< guarded by `m_lock`
    BackgroundPrinter m_printer;
};

/// Exports one chat and serves its file until the link expires. Used by one thread.
class ChatTransfer {
public:
    ChatTransfer(TransferOptions options, const SupportFolder& support, const Console& console)
        : m_options(std::move(options))
        , m_support(support)
        , m_console(console)
        , m_report(console)
    {
    }

    int run()
    {
        exportChat();
        m_options.sources.backupInUse.reset(); // only the exported file is served
        if (m_interruption.requested())
            return ExitCode::interrupted;
        serve();
        m_report.end(m_interruption.requested() ? "Ended." : "The link has expired.");
        awaitPrinting();
        return ExitCode::success;
    }

private:
    void serve()
    {
        const std::string fileName
            = Transfer::exportedFile(m_options.folder, m_options.chat, m_support);
        SyncServer server(m_support, {.now = m_options.now});
        server.offer({m_options.chat}, m_options.folder);
        server.onTransfer = [this](const TransferEvent& event) { m_report.tell(event); };
        const Moment expiry = m_options.now() + TransferTicket::lifetime;
        const auto host = m_options.host ? m_options.host : QR::localIPv4();
        show(Transfer::createLink(server, fileName, portOf(server), host), expiry);
        serveUntil(expiry);
    }

    void exportChat()
    {
        const SupportLock lock(m_support);
        const ChatInfo chat = chosenChat(m_options);
        const ContactNames names = readNames(
            m_options.sources, promptOn(m_console, [this] { return m_interruption.requested(); }));
        m_title = Exporter::title(chat, names);
        const SyncResult result = syncWithProgress(
            {chat}, names, m_options.folder, m_support, m_options.sources.database,
            [this] { return m_interruption.requested(); }, m_console);
        for (const KeptFile& file : result.kept)
            m_report.tell(printable(textOf(file)));
        if (result.errors.empty())
            return;
        awaitPrinting(); // the end of m_report drops what is not printed
        throw TransferError("Error: " + result.errors.front());
    }

    /// Starts the server and returns the port that it listens on. Throws TransferError if it does
    /// not listen within five seconds.
    std::uint16_t portOf(SyncServer& server) const
    {
        const auto ready = std::make_shared<std::promise<std::uint16_t>>();
        std::future<std::uint16_t> port = ready->get_future();
        server.onReady = [ready](std::uint16_t bound) { ready->set_value(bound); };
        server.start(m_options.port);
        constexpr std::chrono::seconds timeout{5}; // a failure to listen is not reported
        if (port.wait_for(timeout) != std::future_status::ready)
            throw TransferError(Transfer::Text::noLink);
        return port.get();
    }

    void show(const TransferLink& link, Moment expiry)
    {
        const auto code = QrCode::encode(link.toString());
        if (!code)
            throw TransferError(Transfer::Text::noPicture);
        m_report.tell(terminalPicture(*code) + '\n' + link.toString() + "\n\n" + printable(m_title)
            + ": scan the code with the phone, or give the link to korvane-sync receive.\n"
              "Valid until "
            + timeOfDay(expiry) + ", for anybody who sees it. Ctrl-C ends it at once.");
    }

    /// Fetches under way at `expiry` may finish. Polls the wall clock, because a timeout until
    /// `expiry` would not advance while the machine is suspended.
    void serveUntil(Moment expiry)
    {
        while (!m_interruption.requested() && (m_options.now() < expiry || m_report.isBusy())) {
            m_interruption.sleep(std::chrono::milliseconds(500));
            m_report.summarize();
        }
    }

    /// Waits until everything is printed, but only for `grace` after an interruption.
    void awaitPrinting() const
    {
        while (!m_interruption.requested()) {
            if (m_report.isPrintedWithin(std::chrono::milliseconds(100)))
                return;
        }
        constexpr std::chrono::seconds grace{1}; // enough for a reader who still reads
        m_report.isPrintedWithin(grace);
    }

    TransferOptions m_options;
    const SupportFolder& m_support;
    const Console& m_console;
    const Interruption m_interruption;
    std::string m_title;
    FetchReport m_report;
};

} // namespace

int runTransfer(
    const TransferOptions& options, const SupportFolder& support, const Console& console)
{
    TransferOptions ready = options;
    ready.sources = opened(options.sources, console);
    return ChatTransfer(std::move(ready), support, console).run();
}

} // namespace korvane
