#pragma once

#include "storage/Descriptor.h"

#include <QObject>
#include <QSocketNotifier>
#include <QTimer>

#include <sys/socket.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

namespace korvane {

/// Accepts TCP connections and hands their descriptors on, with the peer's address. Where
/// the system has none to spare it tries again a little later. Lives on the server's thread.
class Listener : public QObject {
    Q_OBJECT

public:
    using Accept = std::function<void(int descriptor, const sockaddr_storage& peer)>;

    /// Listens on a numeric address, or on all that this machine has where that is empty; port 0
    /// is one that the system chooses. Nothing where it cannot be had.
    static std::unique_ptr<Listener> on(
        const std::string& address, std::uint16_t port, const Accept& accept);

    /// The port that it listens on.
    std::uint16_t port() const;

private:
    Listener(Descriptor socket, Accept accept);

    void acceptAll();

    const Descriptor m_socket;
    const Accept m_accept;
    QSocketNotifier m_waiting;
    QTimer m_retry;
};

} // namespace korvane
