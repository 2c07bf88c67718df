#include "server/Listener.h"

#include <QNetworkProxy>

#include <chrono>

namespace korvane {

Listener::Listener(std::function<void(int descriptor)> accept) : m_accept(std::move(accept))
{
    constexpr int backlog = 512;
    setListenBacklogSize(backlog);
    setProxy(QNetworkProxy::NoProxy); // phones come to this machine itself
    m_retry.setSingleShot(true);
    m_retry.setInterval(std::chrono::milliseconds(100));
    // After an error the base class accepts no more until it is told to.
    connect(this, &QTcpServer::acceptError, &m_retry, qOverload<>(&QTimer::start));
    connect(&m_retry, &QTimer::timeout, this, &QTcpServer::resumeAccepting);
}

void Listener::incomingConnection(qintptr descriptor)
{
    m_accept(static_cast<int>(descriptor));
}

} // namespace korvane
