#pragma once

#include "storage/Descriptor.h"

#include <QObject>
#include <QSocketNotifier>

#include <memory>

namespace korvane {

/// Sees to it that one program at a time works on a support folder: a second one asks the first to
/// show itself, and leaves. The first holds a lock on "window.lock" there, which the system takes
/// back when it ends, however that happens, and reads requests from the named pipe "window.pipe":
/// a byte each, written by programs of the same user. Lives on the main thread.
class SingleInstance : public QObject {
    Q_OBJECT

public:
    /// For the support folder of this process. Where that can have neither lock nor pipe, each
    /// program is the first.
    SingleInstance();

    /// True where another program was there before and has been asked to show itself.
    bool askedFirst() const { return m_askedFirst; }

signals:
    /// Another program was started and has left.
    void showRequested();

private:
    void takeRequests();

    const Descriptor m_requests; ///< both ends of the pipe, so that it is there before the lock
    const Descriptor m_lock;
    bool m_askedFirst = false;
    std::unique_ptr<QSocketNotifier> m_waiting;
};

} // namespace korvane
