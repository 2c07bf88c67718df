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

/// What a server reports of the transfers, in this order. May be used from any thread.
class TransferLog {
public:
    void add(const TransferEvent& event);
    std::vector<TransferEvent> events() const;
    std::vector<TransferEvent::Kind> kinds() const;

private:
    mutable std::mutex m_lock;
    std::vector<TransferEvent> m_events;
};

/// A server of a test's own: it listens on the loopback interface, on a port that the system
/// chooses, and keeps its pairing in the test's support folder.
class RunningServer {
public:
    /// Starts it and waits until it is ready.
    explicit RunningServer(ServerLimits limits = {}, const std::string& address = "127.0.0.1");

    SyncServer& server() { return *m_server; }
    std::uint16_t port() const { return m_port; }

    const TransferLog& transfers() const { return *m_transfers; }

    /// How often it said that the phone has synced.
    int phoneSyncs() const { return *m_phoneSyncs; }

    /// A new ticket for the chat's file, which must be on offer, as a target.
    std::string targetFor(const std::string& fileName);

    /// The time that its tickets go by.
    void setNow(TransferTicket::Clock::time_point now) { *m_now = now; }
    void advance(std::chrono::seconds by) { *m_now = m_now->load() + by; }

    /// "Authorization: Bearer …" with the server's token, as a line of a head.
    std::string authorization() const;

    /// The key of its pairing, as another library takes it.
    QByteArray key() const { return m_server->state().pairing.key.bytes(); }

private:
    std::shared_ptr<std::atomic<TransferTicket::Clock::time_point>> m_now;
    std::shared_ptr<TransferLog> m_transfers = std::make_shared<TransferLog>();
    std::shared_ptr<std::atomic<int>> m_phoneSyncs = std::make_shared<std::atomic<int>>(0);
    std::unique_ptr<SyncServer> m_server;
    std::uint16_t m_port = 0;
};

/// An export of one chat, "Team" with row id 1, of so many messages, for a server to offer.
struct ExportedChat {
    explicit ExportedChat(int messages = 3);

    ExportSetup setup;

    std::string fileName() const { return setup.record(1).fileName; }
    std::string contents() const { return readFile(setup.file(1)); }

    /// Makes its file just so long, with zeros where it grows.
    void resize(std::uintmax_t size) const;

    /// Puts just this chat on offer.
    void offer(SyncServer& server) const;
};

/// The length of the sealed text of so many bytes.
constexpr qsizetype sealedSize(qsizetype text)
{
    return Envelope::nonceSize + text + Envelope::tagSize;
}

} // namespace korvane
