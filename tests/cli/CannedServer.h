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

/// A server on the loopback interface that sends the answers which the test gives it, valid or not.
/// It runs on its own thread and serves one peer at a time.
class CannedServer {
public:
    /// Answers one request; the connection is closed afterwards. Runs on the server's thread.
    using Respond = std::function<void(QTcpSocket& peer, const QByteArray& head)>;

    explicit CannedServer(Respond respond);
    explicit CannedServer(const QByteArray& answer);
    ~CannedServer();
    Q_DISABLE_COPY_MOVE(CannedServer)

    std::uint16_t port() const { return m_port; }

    /// The heads of the requests so far.
    std::vector<QByteArray> heads() const;

    /// Sends the bytes. Gives up when the peer takes none for 10 s or closes the connection.
    static void send(QTcpSocket& peer, const QByteArray& bytes);

    /// A valid answer with this body.
    static QByteArray ok(const QByteArray& body);

private:
    void serve(QTcpSocket& peer);

    const Respond m_respond;
    std::uint16_t m_port = 0;
    mutable std::mutex m_lock;
    std::vector<QByteArray> m_heads; ///< guarded by `m_lock`
    std::unique_ptr<QThread> m_thread;
};

/// A port of this machine that nobody listens on.
std::uint16_t freePort();

} // namespace korvane
