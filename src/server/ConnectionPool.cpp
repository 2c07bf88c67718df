#include "server/ConnectionPool.h"

#include "storage/Descriptor.h"

#include <algorithm>
#include <map>
#include <numeric>
#include <vector>

namespace korvane {

namespace {

using Stage = Connection::Stage;

/// How often the timeouts are checked: often enough that each expires at most a quarter of its
/// length late, and at most one second.
std::chrono::milliseconds watchInterval(const ServerLimits& limits)
{
    const auto shortest = std::min(
        {limits.headTimeout, limits.writeTimeout, limits.lingerTimeout, limits.answerTimeout});
    return std::clamp<std::chrono::milliseconds>(
        shortest / 4, std::chrono::milliseconds(1), std::chrono::seconds(1));
}

/// Lowers the limit on connections so that the process has descriptors left for the database, the
/// files and the window.
ServerLimits withinDescriptors(ServerLimits limits)
{
    constexpr std::size_t reserve = 64;
    const std::size_t all = descriptorLimit();
    limits.connections = std::min(limits.connections, all - std::min(reserve, all / 2));
    return limits;
}

} // namespace

ConnectionPool::ConnectionPool(const ServerLimits& limits, Connection::Respond respond)
    : m_limits(withinDescriptors(limits))
    , m_respond(std::move(respond))
{
    m_watch.setInterval(watchInterval(limits));
    connect(&m_watch, &QTimer::timeout, this, &ConnectionPool::enforceLimits);
}

ConnectionPool::~ConnectionPool() = default;

void ConnectionPool::add(int descriptor, const sockaddr_storage& peer)
{
    auto added = std::make_unique<Connection>(descriptor, peer, m_limits, m_respond);
    if (m_connections.size() >= m_capacity && !evict())
        return;
    const auto place = m_connections.insert(m_connections.end(), std::move(added));
    Connection* connection = place->get();
    connect(connection, &Connection::answered, this, [this, place] { onAnswered(place); });
    connect(connection, &Connection::closed, this,
        [this, place](bool delivered) { onClosed(place, delivered); });
    if (!m_watch.isActive())
        m_watch.start();
}

bool ConnectionPool::freeDescriptors()
{
    constexpr std::size_t spare = 16; // for the files that the next answers open
    const std::size_t before = m_connections.size();
    bool evicted = true;
    while (evicted && m_connections.size() + spare > before)
        evicted = evict();
    if (m_connections.size() == before)
        return false;
    m_capacity = std::max<std::size_t>(m_connections.size(), 1);
    return true;
}

/// Closes one connection. Returns false if there is none to evict: all of them are being sent a
/// manifest or a file.
bool ConnectionPool::evict()
{
    const std::size_t before = m_connections.size();
    while (m_connections.size() == before) {
        Connection* connection = evictable();
        if (!connection)
            return false;
        connection->evict(); // may answer it instead; then choose again
    }
    return true;
}

/// Chooses the connection to evict: first one that is over, then one that is being refused, then
/// one whose request is incomplete. Among the refused and among the incomplete ones, chooses the
/// oldest of the network that has most of them, so that a host that floods the server evicts its
/// own connections. There is no fixed limit per address, because hosts behind a NAT share one.
Connection* ConnectionPool::evictable() const
{
    const auto isOver = [](const Connection& each) { return each.isOver(); };
    const auto isWaiting = [](const Connection& each) { return each.stage() == Stage::Reading; };
    const auto isRefused = [&](const Connection& each) {
        return !isWaiting(each) && each.kind() == Answer::Kind::Refusal;
    };
    if (Connection* over = oldest(isOver))
        return over;
    if (Connection* refused = oldestOfBusiestNetwork(isRefused))
        return refused;
    return oldestOfBusiestNetwork(isWaiting);
}

/// Moves the connection to the end, so that the list is in the order in which connections were
/// accepted or, once answered, in which they were answered.
void ConnectionPool::onAnswered(Connections::iterator place)
{
    const Connection& connection = **place;
    m_connections.splice(m_connections.end(), m_connections, place);
    boundHeldBytes();
    if (connection.kind() == Answer::Kind::Transfer)
        emit transferStarted(connection.peer());
}

void ConnectionPool::onClosed(Connections::iterator place, bool delivered)
{
    Connection* connection = place->release(); // still emitting closed(), so delete it later
    m_connections.erase(place);
    connection->deleteLater();
    if (m_connections.empty()) {
        m_watch.stop();
        m_capacity = m_limits.connections;
    }
    if (connection->kind() == Answer::Kind::Transfer)
        emit transferEnded(connection->peer(), delivered);
}

/// Bounds the memory that peers can occupy by not receiving their answers. Evicts the connection
/// that has made no progress for the longest time, but never the one with the newest answer.
void ConnectionPool::boundHeldBytes()
{
    while (heldBytes() > m_limits.heldBytes) {
        Connection* connection = longestStalled();
        if (!connection)
            return;
        connection->evict();
    }
}

void ConnectionPool::enforceLimits()
{
    m_capacity = m_limits.connections; // descriptors may be available again
    const auto now = Connection::Clock::now();
    for (auto place = m_connections.begin(); place != m_connections.end();) {
        Connection& connection = **place++; // enforceLimits() may remove it from the list
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

template <typename Condition>
Connection* ConnectionPool::oldestOfBusiestNetwork(Condition condition) const
{
    std::map<PeerNetwork, std::size_t> counts;
    std::size_t most = 0;
    for (const auto& connection : m_connections) {
        if (condition(*connection))
            most = std::max(most, ++counts[connection->network()]);
    }
    return oldest(
        [&](const Connection& each) { return condition(each) && counts[each.network()] == most; });
}

Connection* ConnectionPool::longestStalled() const
{
    const auto now = Connection::Clock::now();
    std::vector<Connection*> sending;
    for (const auto& connection : m_connections) {
        if (connection->stage() != Stage::Sending)
            continue;
        connection->watchProgress(now); // the last check may be up to a second old
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
