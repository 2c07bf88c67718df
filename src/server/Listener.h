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

/// Accepts TCP connections and hands their descriptors on, with the peer's address: a few at a
/// time, so that a flood of them does not keep the thread from the others. Lives on the server's
/// thread.
class Listener : public QObject {
    Q_OBJECT

public:
    using Accept = std::function<void(int descriptor, const sockaddr_storage& peer)>;

    /// Closes some connections where the process or the system has no more descriptors. False where
    /// there was none to close; the listener then tries again a little later.
    using FreeDescriptors = std::function<bool()>;

    /// Listens on a numeric address, or on all that this machine has where that is empty; port 0
    /// is one that the system chooses. Nothing where it cannot be had.
    static std::unique_ptr<Listener> on(
        const std::string& address, std::uint16_t port, Accept accept, FreeDescriptors free);

    /// The port that it listens on.
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
