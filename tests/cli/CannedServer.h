#pragma once

#include <QByteArray>
#include <QTcpSocket>
#include <QThread>

#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <vector>

namespace korvane {

/// A server on the loopback interface that answers every request as the test says, rightly or not.
/// It has a thread of its own, and serves one peer after the other.
class CannedServer {
public:
    /// Answers one request; the connection is closed afterwards. Runs on the server's thread.
    using Respond = std::function<void(QTcpSocket& peer, const QByteArray& head)>;

    explicit CannedServer(Respond respond);
    explicit CannedServer(const QByteArray& answer);
    ~CannedServer();
    Q_DISABLE_COPY_MOVE(CannedServer)

    std::uint16_t port() const { return m_port; }

    /// What it was asked so far.
    std::vector<QByteArray> heads() const;

    /// Sends all of it, as long as the peer takes it.
    static void send(QTcpSocket& peer, const QByteArray& bytes);

    /// A good answer with this body.
    static QByteArray ok(const QByteArray& body);

private:
    void serve(QTcpSocket& peer);

    const Respond m_respond;
    std::uint16_t m_port = 0;
    mutable std::mutex m_lock;
    std::vector<QByteArray> m_heads; ///< guarded by `m_lock`
    std::unique_ptr<QThread> m_thread;
};

/// A port of this machine at which nobody listens.
std::uint16_t freePort();

} // namespace korvane
