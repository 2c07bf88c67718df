#pragma once

#include "storage/Descriptor.h"

#include <QTcpServer>
#include <QThread>

#include <cstdint>
#include <functional>
#include <future>

namespace korvane {

/// Baseline for one connection: accepts it, reads the request and calls `answer`, with blocking
/// calls on a thread of its own. The destructor waits for that thread.
class BareServer {
public:
    explicit BareServer(std::function<void(const Descriptor& connection)> answer);

    std::uint16_t port() const;

private:
    const Descriptor m_listening;
    const std::future<void> m_answering;
};

/// Baseline for small answers: a QTcpServer with an event loop on a thread of its own. It sends the
/// same bytes as soon as a request's blank line has arrived, and disconnects.
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
    QTcpServer m_server; ///< lives on `m_thread`
};

} // namespace korvane
