#pragma once

#include "storage/Descriptor.h"

#include <QTcpServer>
#include <QThread>

#include <cstdint>
#include <functional>
#include <future>

namespace korvane {

/// Accepts one connection, reads what it asks, and does nothing but `answer` it: blocking, on a
/// thread of its own, which the destructor waits for.
class BareServer {
public:
    explicit BareServer(std::function<void(const Descriptor& connection)> answer);

    std::uint16_t port() const;

private:
    const Descriptor m_listening;
    const std::future<void> m_answering;
};

/// The least of a server made with Qt's own sockets, on an event loop in a thread of its own:
/// answers each request with the same bytes as soon as it has the blank line, and disconnects.
class BareQtServer {
public:
    explicit BareQtServer(QByteArray answer);
    ~BareQtServer();

    BareQtServer(const BareQtServer&) = delete;
    BareQtServer& operator=(const BareQtServer&) = delete;

    std::uint16_t port() const { return m_port; }

private:
    void serve(QTcpSocket* connection);

    const QByteArray m_answer;
    std::uint16_t m_port = 0;
    QThread m_thread;
    QTcpServer m_server; ///< lives on the thread
};

} // namespace korvane
