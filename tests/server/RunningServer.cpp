#include "server/RunningServer.h"

#include <QtTest/QTest>

#include <future>
#include <utility>

namespace korvane {

void TransferLog::add(const TransferEvent& event)
{
    const std::lock_guard lock(m_lock);
    m_events.push_back(event);
}

std::vector<TransferEvent> TransferLog::events() const
{
    const std::lock_guard lock(m_lock);
    return m_events;
}

std::vector<TransferEvent::Kind> TransferLog::kinds() const
{
    std::vector<TransferEvent::Kind> kinds;
    for (const TransferEvent& event : events())
        kinds.push_back(event.kind);
    return kinds;
}

RunningServer::RunningServer(
    const SupportFolder& support, ServerLimits limits, const std::string& address)
    : m_now(std::make_shared<std::atomic<TransferTicket::Clock::time_point>>(
        TransferTicket::Clock::now()))
{
    ServerOptions options;
    options.now = [now = m_now] { return now->load(); };
    options.limits = limits;
    options.address = address;
    m_server = std::make_unique<SyncServer>(support, std::move(options));
    const auto ready = std::make_shared<std::promise<std::uint16_t>>();
    m_server->onReady = [ready, told = false](std::uint16_t port) mutable {
        if (!std::exchange(told, true)) // a test may start it again
            ready->set_value(port);
    };
    m_server->onTransfer = [log = m_transfers](const TransferEvent& event) { log->add(event); };
    m_server->onPhoneSync = [count = m_phoneSyncs](auto) { ++*count; };
    m_server->start(0);
    m_port = ready->get_future().get();
}

std::string RunningServer::authorization() const
{
    return "Authorization: Bearer " + m_server->state().pairing.token + "\r\n";
}

std::string RunningServer::targetFor(const std::string& fileName)
{
    return "/v1/transfer/" + m_server->issueTransfer(fileName).value().ticket;
}

ExportedChat::ExportedChat(int messages)
{
    setup.addChat(1, "Team");
    setup.addMessages(1, messages);
    setup.sync();
}

void ExportedChat::resize(std::uintmax_t size) const
{
    std::filesystem::resize_file(setup.file(1), size);
}

void ExportedChat::offer(SyncServer& server) const
{
    server.offer({ExportSetup::guid(1)}, setup.folder());
}

} // namespace korvane
