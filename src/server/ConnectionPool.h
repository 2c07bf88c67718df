#pragma once

#include "server/Connection.h"

#include <QObject>
#include <QTimer>

#include <cstdint>
#include <list>
#include <memory>
#include <string>

namespace korvane {

/// All open connections, within their limits. Lives on the server's thread.
class ConnectionPool : public QObject {
    Q_OBJECT

public:
    ConnectionPool(const ServerLimits& limits, Connection::Respond respond);
    ~ConnectionPool() override;

    /// Takes over the descriptor of a connected socket, and the address of its peer. Where the pool
    /// is full, another connection is evicted; this one is closed where all others have been given
    /// something and are taking it.
    void add(int descriptor, const sockaddr_storage& peer);

    /// Evicts some connections, so that the process has descriptors again, and for a short time
    /// adds one only in the place of another. False where there was none to evict.
    bool freeDescriptors();

signals:
    /// A ticket's file is on its way to a peer.
    void transferStarted(const std::string& peer);

    /// `delivered` where the peer is known to have taken all of it.
    void transferEnded(const std::string& peer, bool delivered);

private:
    using Connections = std::list<std::unique_ptr<Connection>>; ///< see onAnswered()

    bool evict();
    Connection* evictable() const;
    void onAnswered(Connections::iterator place);
    void onClosed(Connections::iterator place, bool delivered);
    void boundHeldBytes();
    void enforceLimits();
    template <typename Condition>
    Connection* oldest(Condition condition) const;
    template <typename Condition>
    Connection* oldestOfBusiestNetwork(Condition condition) const;
    Connection* longestStalled() const;
    std::int64_t heldBytes() const;

    const ServerLimits m_limits;
    const Connection::Respond m_respond;
    std::size_t m_capacity = m_limits.connections; ///< lower where descriptors ran out
    Connections m_connections;
    QTimer m_watch; ///< runs while there are connections
};

} // namespace korvane
