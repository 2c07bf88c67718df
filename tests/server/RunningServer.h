#pragma once

#include "export/ExportSetup.h"
#include "server/Client.h"
#include "server/SyncServer.h"

#include <cstdint>
#include <memory>
#include <string>

namespace korvane {

/// A server of a test's own: it listens on the loopback interface, on a port that the system
/// chooses, and keeps its pairing in the set-up's support folder.
class RunningServer {
public:
    /// Starts it and waits until it is ready.
    explicit RunningServer(ServerLimits limits = {});

    SyncServer& server() { return *m_server; }
    std::uint16_t port() const { return m_port; }

    /// The time that its tickets go by.
    void setNow(TransferTicket::Clock::time_point now) { *m_now = now; }
    void advance(std::chrono::seconds by) { *m_now = m_now->load() + by; }

    /// "Authorization: Bearer …" with the server's token, as a line of a head.
    std::string authorization() const;

    /// The key of its pairing, as another library takes it.
    QByteArray key() const { return m_server->state().pairing.key.bytes(); }

private:
    std::shared_ptr<std::atomic<TransferTicket::Clock::time_point>> m_now;
    std::unique_ptr<SyncServer> m_server;
    std::uint16_t m_port = 0;
};

/// An export of one chat, "Team" with row id 1, of so many messages, for a server to offer.
struct ExportedChat {
    explicit ExportedChat(int messages = 3);

    ExportSetup setup;

    std::string fileName() const { return setup.record(1).fileName; }
    std::string contents() const { return readFile(setup.file(1)); }

    /// Puts just this chat on offer.
    void offer(SyncServer& server) const;
};

} // namespace korvane
