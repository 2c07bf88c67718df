#pragma once

#include "export/ExportSetup.h"
#include "server/Client.h"
#include "server/SyncServer.h"

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace korvane {

/// Records a server's transfer events in the order in which they arrive. Thread-safe.
class TransferLog {
public:
    void add(const TransferEvent& event);
    std::vector<TransferEvent> events() const;
    std::vector<TransferEvent::Kind> kinds() const;

private:
    mutable std::mutex m_lock;
    std::vector<TransferEvent> m_events;
};

/// A server for one test. It listens on the loopback interface, on a port that the system chooses,
/// and keeps its pairing in `support`.
class RunningServer {
public:
    /// Starts the server and waits until it is ready.
    explicit RunningServer(const SupportFolder& support, ServerLimits limits = {},
        const std::string& address = "127.0.0.1");

    SyncServer& server() { return *m_server; }
    std::uint16_t port() const { return m_port; }

    const TransferLog& transfers() const { return *m_transfers; }

    /// The number of calls of onPhoneSync so far.
    int phoneSyncs() const { return *m_phoneSyncs; }

    /// The request target of a new ticket for the file, which must be on offer.
    std::string targetFor(const std::string& fileName);

    /// Sets or advances the clock by which tickets expire.
    void setNow(TransferTicket::Clock::time_point now) { *m_now = now; }
    void advance(std::chrono::seconds by) { *m_now = m_now->load() + by; }

    /// The header line "Authorization: Bearer …" with the server's token and its line end.
    std::string authorization() const;

    /// The pairing's key as raw bytes, for another library.
    QByteArray key() const { return m_server->state().pairing.key.bytes(); }

private:
    std::shared_ptr<std::atomic<TransferTicket::Clock::time_point>> m_now;
    std::shared_ptr<TransferLog> m_transfers = std::make_shared<TransferLog>();
    std::shared_ptr<std::atomic<int>> m_phoneSyncs = std::make_shared<std::atomic<int>>(0);
    std::unique_ptr<SyncServer> m_server;
    std::uint16_t m_port = 0;
};

/// An export of one chat ("Team", row id 1) that a server can offer.
struct ExportedChat {
    explicit ExportedChat(int messages = 3);

    ExportSetup setup;

    std::string fileName() const { return setup.record(1).fileName; }
    std::string contents() const { return readFile(setup.file(1)); }

    /// Truncates the export file to `size` bytes, or extends it with zeros.
    void resize(std::uintmax_t size) const;

    /// Has the server offer this chat and no other.
    void offer(SyncServer& server) const;
};

/// The size in bytes of a body that seals `text` bytes.
constexpr qsizetype sealedSize(qsizetype text)
{
    return Envelope::nonceSize + text + Envelope::tagSize;
}

} // namespace korvane
