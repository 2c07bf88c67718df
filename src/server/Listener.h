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

/// Accepts TCP connections and passes on their descriptors and peer addresses. It accepts a few at
/// a time, so that a flood of connections does not starve the other sockets. Used on the server's
/// thread only.
class Listener : public QObject {
    Q_OBJECT

public:
    using Accept = std::function<void(int descriptor, const sockaddr_storage& peer)>;

    /// Called when the process or the system is out of descriptors; should close some connections.
    /// If it returns false, the listener tries again 100 ms later.
    using FreeDescriptors = std::function<bool()>;

    /// Listens on a numeric address, or on all addresses of this machine if `address` is empty.
    /// Port 0 lets the system choose. Returns nothing if it cannot listen there.
    static std::unique_ptr<Listener> on(
        const std::string& address, std::uint16_t port, Accept accept, FreeDescriptors free);

    /// The port that it listens on; 0 if the system does not tell.
    std::uint16_t port() const;

private:
    Listener(Descriptor socket, Accept accept, FreeDescriptors free);

    void acceptSome();
    bool acceptOne();
    void pause();

    const Descriptor m_socket;
    const Accept m_accept;
    const FreeDescriptors m_freeDescriptors;
    QSocketNotifier m_waiting;
    QTimer m_retry;
};

} // namespace korvane
