#include "BareServer.h"

#include "Loopback.h"

#include <QTcpSocket>

#include <array>
#include <memory>

namespace korvane {

BareServer::BareServer(std::function<void(const Descriptor& connection)> answer)
    : m_listening(Loopback::listening())
    , m_answering(std::async(std::launch::async, [this, answer = std::move(answer)] {
        const Descriptor connection = Loopback::accepted(m_listening);
        std::array<char, 1024> request;
        Loopback::readSome(connection, request);
        answer(connection);
    }))
{
}

std::uint16_t BareServer::port() const
{
    return Loopback::portOf(m_listening);
}

BareQtServer::BareQtServer(QByteArray answer) : m_answer(std::move(answer))
{
    QObject::connect(&m_server, &QTcpServer::newConnection, &m_server, [this] {
        while (QTcpSocket* connection = m_server.nextPendingConnection())
            serve(connection);
    });
    m_server.moveToThread(&m_thread);
    m_thread.start();
    const auto listen = [this] {
        if (m_server.listen(QHostAddress::LocalHost))
            m_port = m_server.serverPort();
    };
    QMetaObject::invokeMethod(&m_server, listen, Qt::BlockingQueuedConnection);
}

BareQtServer::~BareQtServer()
{
    QMetaObject::invokeMethod(&m_server, [this] {
        m_server.close();
        m_thread.quit();
    });
    m_thread.wait();
}

void BareQtServer::serve(QTcpSocket* connection)
{
    QObject::connect(connection, &QTcpSocket::disconnected, connection, &QObject::deleteLater);
    QObject::connect(connection, &QTcpSocket::readyRead, connection,
        [this, connection, head = QByteArray()]() mutable {
            head += connection->readAll();
            if (!head.endsWith("\r\n\r\n"))
                return;
            connection->write(m_answer);
            connection->disconnectFromHost();
        });
}

} // namespace korvane
