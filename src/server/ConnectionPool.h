#pragma once

#include "server/Connection.h"

#include <QObject>
#include <QTimer>

#include <cstdint>
#include <list>
#include <memory>
#include <string>

namespace korvane {

/// Owns all open connections and enforces the limits on them. Used on the server's thread only.
class ConnectionPool : public QObject {
    Q_OBJECT

public:
    ConnectionPool(const ServerLimits& limits, Connection::Respond respond);
    ~ConnectionPool() override;

    /// Takes ownership of a connected socket's descriptor. `peer` is the address of its peer. If
    /// the pool is full, another connection is evicted; if none can be evicted, because all are
    /// being sent a manifest or a file, the new one is closed.
    void add(int descriptor, const sockaddr_storage& peer);

    /// Evicts up to 16 connections, so that the process has descriptors again. The pool does not
    /// grow until the limits are next checked. Returns false if there was none to evict.
    bool freeDescriptors();

signals:
    /// Sending a ticket's file to a peer begins.
    void transferStarted(const std::string& peer);

    /// `delivered` is true if the peer is known to have received all of it.
    void transferEnded(const std::string& peer, bool delivered);

private:
    using Connections = std::list<std::unique_ptr<Connection>>; ///< for the order see onAnswered()

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
    std::size_t m_capacity = m_limits.connections; ///< lower after descriptors ran out
    Connections m_connections;
    QTimer m_watch; ///< runs while there are connections
};

} // namespace korvane
