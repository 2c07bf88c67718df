#pragma once

#include <QTcpServer>
#include <QTimer>

#include <functional>

namespace korvane {

/// Accepts TCP connections and hands their descriptors on. Where the system has none to spare it
/// tries again a little later. Lives on the server's thread.
class Listener : public QTcpServer {
    Q_OBJECT

public:
    explicit Listener(std::function<void(int descriptor)> accept);

protected:
    void incomingConnection(qintptr descriptor) override;

private:
    const std::function<void(int)> m_accept;
    QTimer m_retry;
};

} // namespace korvane
