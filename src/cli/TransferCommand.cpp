#include "cli/TransferCommand.h"

#include "cli/BackgroundPrinter.h"
#include "cli/FetchLog.h"
#include "cli/QrPicture.h"
#include "cli/SyncWithProgress.h"
#include "cli/Table.h"
#include "export/Exporter.h"
#include "pairing/QR.h"
#include "process/Interruption.h"
#include "server/SyncServer.h"
#include "server/Transfer.h"
#include "storage/SupportLock.h"
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

/// Tells the user what happens to the file. May be used from any thread; never waits for whoever
/// reads the output.
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

    /// From time to time: what was not worth a line of its own.
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

    /// True while somebody is fetching it.
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

/// One chat on its way from the database to a phone.
class ChatTransfer {
public:
    ChatTransfer(const TransferOptions& options, const Console& console)
        : m_options(options)
        , m_console(console)
        , m_report(console)
    {
    }

    int run()
    {
        exportChat();
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
        const std::string fileName = Transfer::exportedFile(m_options.folder, m_options.chat);
        SyncServer server({.now = m_options.now});
        server.offer({m_options.chat}, m_options.folder);
        server.onTransfer = [this](const TransferEvent& event) { m_report.tell(event); };
        const Moment expiry = m_options.now() + TransferTicket::lifetime;
        const auto host = m_options.host ? m_options.host : QR::localIPv4();
        show(Transfer::createLink(server, fileName, portOf(server), host), expiry);
        serveUntil(expiry);
    }

    void exportChat()
    {
        const SupportLock lock;
        const ChatInfo chat = chosenChat(m_options);
        const ContactNames names = readNames(m_options.sources);
        m_title = Exporter::title(chat, names);
        const SyncResult result = syncWithProgress(
            {chat}, names, m_options.folder, m_options.sources.database, m_interruption, m_console);
        if (!result.errors.empty())
            throw TransferError("Error: " + result.errors.front());
    }

    /// Starts the server and waits until it says where it listens.
    std::uint16_t portOf(SyncServer& server) const
    {
        const auto ready = std::make_shared<std::promise<std::uint16_t>>();
        std::future<std::uint16_t> port = ready->get_future();
        server.onReady = [ready](std::uint16_t bound) { ready->set_value(bound); };
        server.start(m_options.port);
        constexpr std::chrono::seconds patience{5}; // a server that cannot listen says nothing
        if (port.wait_for(patience) != std::future_status::ready)
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

    /// Whoever has begun to fetch by then may finish. The wall clock is asked again and again, for
    /// it goes on while the machine sleeps.
    void serveUntil(Moment expiry)
    {
        while (!m_interruption.requested() && (m_options.now() < expiry || m_report.isBusy())) {
            m_interruption.sleep(std::chrono::milliseconds(500));
            m_report.summarize();
        }
    }

    /// Waits for whoever reads the output, but not if the user has asked the program to end.
    void awaitPrinting() const
    {
        while (!m_interruption.requested()) {
            if (m_report.isPrintedWithin(std::chrono::milliseconds(100)))
                return;
        }
        constexpr std::chrono::seconds grace{1}; // for a reader who does read
        m_report.isPrintedWithin(grace);
    }

    const TransferOptions& m_options;
    const Console& m_console;
    const Interruption m_interruption;
    std::string m_title;
    FetchReport m_report;
};

} // namespace

int runTransfer(const TransferOptions& options, const Console& console)
{
    return ChatTransfer(options, console).run();
}

} // namespace korvane
