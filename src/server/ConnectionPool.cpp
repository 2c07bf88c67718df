#include "server/ConnectionPool.h"

#include <algorithm>
#include <numeric>
#include <vector>

namespace korvane {

namespace {

using Stage = Connection::Stage;

/// Often enough that no limit is overrun by more than a quarter, or a second.
std::chrono::milliseconds watchInterval(const ServerLimits& limits)
{
    const auto shortest = std::min({limits.headTimeout, limits.writeTimeout, limits.lingerTimeout});
    return std::clamp<std::chrono::milliseconds>(
        shortest / 4, std::chrono::milliseconds(1), std::chrono::seconds(1));
}

} // namespace

ConnectionPool::ConnectionPool(const ServerLimits& limits, Connection::Respond respond)
    : m_limits(limits)
    , m_respond(std::move(respond))
{
    m_watch.setInterval(watchInterval(limits));
    connect(&m_watch, &QTimer::timeout, this, &ConnectionPool::enforceLimits);
}

ConnectionPool::~ConnectionPool() = default;

void ConnectionPool::add(int descriptor, const std::string& peer)
{
    auto added = std::make_unique<Connection>(descriptor, peer, m_limits, m_respond);
    if (m_connections.size() >= m_limits.connections && !makeRoom())
        return; // all are being answered
    const auto place = m_connections.insert(m_connections.end(), std::move(added));
    Connection* connection = place->get();
    connect(
        connection, &Connection::answered, this, [this, connection] { onAnswered(*connection); });
    connect(connection, &Connection::closed, this,
        [this, place](bool delivered) { onClosed(place, delivered); });
    if (!m_watch.isActive())
        m_watch.start();
}

/// Whoever has taken its answer goes first, then whoever has kept a place longest without a
/// request.
bool ConnectionPool::makeRoom()
{
    Connection* leaving = oldest([](const Connection& each) { return each.hasTakenAll(); });
    if (!leaving)
        leaving = oldest([](const Connection& each) { return each.stage() == Stage::Reading; });
    if (leaving)
        leaving->close();
    return leaving != nullptr;
}

void ConnectionPool::onAnswered(const Connection& connection)
{
    boundHeldBytes();
    if (connection.kind() == Answer::Kind::Transfer)
        emit transferStarted(connection.peer());
}

void ConnectionPool::onClosed(Connections::iterator place, bool delivered)
{
    Connection* connection = place->release(); // it is in the middle of emitting
    m_connections.erase(place);
    connection->deleteLater();
    if (m_connections.empty())
        m_watch.stop();
    if (connection->kind() == Answer::Kind::Transfer)
        emit transferEnded(connection->peer(), delivered);
}

/// Peers that stop taking their answers must not fill the memory: the one that has taken nothing
/// for the longest time is cut off, except for the newest.
void ConnectionPool::boundHeldBytes()
{
    while (heldBytes() > m_limits.heldBytes) {
        Connection* connection = longestStalled();
        if (!connection)
            return;
        connection->close();
    }
}

void ConnectionPool::enforceLimits()
{
    const auto now = Connection::Clock::now();
    for (auto place = m_connections.begin(); place != m_connections.end();) {
        Connection& connection = **place++; // it may go
        connection.enforceLimits(now);
    }
}

template <typename Condition>
Connection* ConnectionPool::oldest(Condition condition) const
{
    const auto found = std::find_if(m_connections.begin(), m_connections.end(),
        [&condition](const auto& connection) { return condition(*connection); });
    return found == m_connections.end() ? nullptr : found->get();
}

Connection* ConnectionPool::longestStalled() const
{
    const auto now = Connection::Clock::now();
    std::vector<Connection*> sending;
    for (const auto& connection : m_connections) {
        if (connection->stage() != Stage::Sending)
            continue;
        connection->watchProgress(now); // it may have taken something since the last round
        sending.push_back(connection.get());
    }
    if (sending.size() < 2)
        return nullptr;
    return *std::min_element(
        sending.begin(), sending.end(), [](const Connection* one, const Connection* other) {
            return one->lastProgress() < other->lastProgress();
        });
}

std::int64_t ConnectionPool::heldBytes() const
{
    return std::accumulate(m_connections.begin(), m_connections.end(), std::int64_t{0},
        [](std::int64_t sum, const auto& connection) { return sum + connection->heldBytes(); });
}

} // namespace korvane
