#include "cli/TransferCommand.h"

#include "cli/Interruption.h"
#include "cli/QrPicture.h"
#include "cli/SyncWithProgress.h"
#include "cli/Table.h"
#include "export/Exporter.h"
#include "messages/Utf8.h"
#include "pairing/QR.h"
#include "server/SyncServer.h"
#include "server/Transfer.h"
#include "storage/SupportLock.h"

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

/// Says what happens to the file; called from the server's thread.
class FetchReport {
public:
    explicit FetchReport(const Console& console) : m_console(console) { }

    void tell(const TransferEvent& event)
    {
        const std::lock_guard lock(m_lock);
        m_fetches += event.kind == TransferEvent::Kind::Started ? 1 : -1;
        say(timeOfDay(TransferTicket::Clock::now()) + "  " + event.peer + said(event.kind));
    }

    void tell(const std::string& text)
    {
        const std::lock_guard lock(m_lock);
        say(text);
    }

    /// True while somebody is fetching it.
    bool isBusy() const
    {
        const std::lock_guard lock(m_lock);
        return m_fetches > 0;
    }

private:
    void say(const std::string& line) { m_console.out << line << std::endl; } // seen at once

    static const char* said(TransferEvent::Kind kind)
    {
        switch (kind) {
        case TransferEvent::Kind::Started:
            return " is fetching it";
        case TransferEvent::Kind::Delivered:
            return " has it";
        case TransferEvent::Kind::BrokenOff:
            break;
        }
        return " broke off";
    }

    const Console& m_console; ///< while the server runs, guarded by `m_lock`
    mutable std::mutex m_lock;
    int m_fetches = 0; ///< under way; guarded by `m_lock`
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
        const std::string fileName = Transfer::exportedFile(m_options.folder, m_options.chat);
        SyncServer server({.now = m_options.now});
        server.offer({m_options.chat}, m_options.folder);
        server.onTransfer = [this](const TransferEvent& event) { m_report.tell(event); };
        const Moment expiry = m_options.now() + TransferTicket::lifetime;
        const auto host = m_options.host ? m_options.host : QR::localIPv4();
        show(Transfer::createLink(server, fileName, portOf(server), host), expiry);
        serveUntil(expiry);
        return ExitCode::success;
    }

private:
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
        while (!m_interruption.requested() && (m_options.now() < expiry || m_report.isBusy()))
            m_interruption.sleep(std::chrono::milliseconds(500));
        m_report.tell(m_interruption.requested() ? "Ended." : "The link has expired.");
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
