#pragma once

#include "storage/Descriptor.h"

#include <QObject>
#include <QSocketNotifier>

#include <chrono>
#include <memory>

namespace korvane {

/// Sees to it that one program at a time works on a support folder: a second one asks the first to
/// show itself, and leaves. The first holds a lock on "window.lock" there, which the system takes
/// back when it ends, however that happens, and reads requests from the named pipe "window.pipe":
/// a byte each, written by programs of the same user. Lives on the main thread.
class SingleInstance : public QObject {
    Q_OBJECT

public:
    enum class Place {
        First,
        Second, ///< another program was there before and has been asked to show itself
        None, ///< another one is there and does not listen: it hangs, or is on another machine
    };

    /// For the support folder of this process. Where that can have no lock, each program is the
    /// first. Waits so long for one that is ending, or only just beginning.
    explicit SingleInstance(std::chrono::milliseconds patience = std::chrono::seconds(5));

    Place place() const { return m_place; }

    /// Takes no more requests, for this program is ending: the next one waits for its place.
    void retire();

signals:
    /// Another program was started and has left.
    void showRequested();

private:
    Place settle(std::chrono::milliseconds patience) const;
    void listen();
    void takeRequests();

    const Descriptor m_lock;
    const Place m_place;
    Descriptor m_requests; ///< both ends, so that it is never at an end
    std::unique_ptr<QSocketNotifier> m_waiting;
};

} // namespace korvane
