#include "server/RunningServer.h"

#include <QtTest/QTest>

#include <future>
#include <utility>

namespace korvane {

RunningServer::RunningServer(ServerLimits limits)
    : m_now(std::make_shared<std::atomic<TransferTicket::Clock::time_point>>(
        TransferTicket::Clock::now()))
{
    ServerOptions options;
    options.now = [now = m_now] { return now->load(); };
    options.limits = limits;
    options.address = QHostAddress::LocalHost;
    m_server = std::make_unique<SyncServer>(std::move(options));
    const auto ready = std::make_shared<std::promise<std::uint16_t>>();
    m_server->onReady = [ready, told = false](std::uint16_t port) mutable {
        if (!std::exchange(told, true)) // a test may start it again
            ready->set_value(port);
    };
    m_server->start(0);
    m_port = ready->get_future().get();
}

std::string RunningServer::authorization() const
{
    return "Authorization: Bearer " + m_server->state().pairing.token + "\r\n";
}

ExportedChat::ExportedChat(int messages)
{
    setup.addChat(1, "Team");
    setup.addMessages(1, messages);
    setup.sync();
}

void ExportedChat::offer(SyncServer& server) const
{
    server.offer({ExportSetup::guid(1)}, setup.folder());
}

} // namespace korvane
