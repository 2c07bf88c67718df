#include "CannedServer.h"

#include <QRandomGenerator>
#include <QTcpServer>

#include <future>
#include <utility>

namespace korvane {

namespace {

constexpr int timeout = 10'000; ///< milliseconds

} // namespace

CannedServer::CannedServer(Respond respond) : m_respond(std::move(respond))
{
    std::promise<std::uint16_t> ready;
    m_thread.reset(QThread::create([this, &ready] {
        QTcpServer server;
        server.listen(QHostAddress::LocalHost);
        ready.set_value(server.serverPort());
        while (!QThread::currentThread()->isInterruptionRequested()) {
            constexpr int moment = 20;
            server.waitForNewConnection(moment);
            const std::unique_ptr<QTcpSocket> peer(server.nextPendingConnection());
            if (peer)
                serve(*peer);
        }
    }));
    m_thread->start();
    m_port = ready.get_future().get();
}

CannedServer::CannedServer(const QByteArray& answer)
    : CannedServer([answer](QTcpSocket& peer, const QByteArray&) { send(peer, answer); })
{
}

CannedServer::~CannedServer()
{
    m_thread->requestInterruption();
    m_thread->wait();
}

std::vector<QByteArray> CannedServer::heads() const
{
    const std::lock_guard lock(m_lock);
    return m_heads;
}

void CannedServer::serve(QTcpSocket& peer)
{
    QByteArray head;
    while (!head.contains("\r\n\r\n") && peer.waitForReadyRead(timeout))
        head += peer.readAll();
    {
        const std::lock_guard lock(m_lock);
        m_heads.push_back(head);
    }
    m_respond(peer, head);
    peer.disconnectFromHost();
    if (peer.state() != QAbstractSocket::UnconnectedState)
        peer.waitForDisconnected(timeout);
}

void CannedServer::send(QTcpSocket& peer, const QByteArray& bytes)
{
    peer.write(bytes);
    while (peer.bytesToWrite() > 0 && peer.waitForBytesWritten(timeout)) { }
}

QByteArray CannedServer::ok(const QByteArray& body)
{
    return "HTTP/1.1 200 OK\r\nContent-Length: " + QByteArray::number(body.size())
        + "\r\nConnection: close\r\n\r\n" + body;
}

std::uint16_t freePort()
{
    // Below 32768: the kernel gives the ports from there on to other programs at any time.
    QTcpServer server;
    do {
        const int port = QRandomGenerator::global()->bounded(20'000, 32'000);
        server.listen(QHostAddress::AnyIPv4, static_cast<quint16>(port));
    } while (!server.isListening());
    return server.serverPort();
}

} // namespace korvane
