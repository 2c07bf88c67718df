#pragma once

#include "storage/Descriptor.h"

#include <QObject>
#include <QSocketNotifier>

#include <chrono>
#include <memory>

namespace korvane {

/// Ensures that only one window program at a time uses a support folder. The first process holds an
/// flock() on "window.lock" in that folder, which the kernel releases however the process ends, and
/// reads the named pipe "window.pipe". A second process writes one byte to the pipe, which asks the
/// first to show its window, and then exits. Only the file owner may write to the pipe. Main thread
/// only.
class SingleInstance : public QObject {
    Q_OBJECT

public:
    enum class Place {
        First,
        Second, ///< another process is the first and was asked to show its window

        /// Another process holds the lock but does not read the pipe: it is taking long to start or
        /// to end, could not make the pipe, or runs on another machine.
        None,
    };

    /// Uses Paths::support(). If the lock file cannot be opened or locked, every process is the
    /// first. Blocks for up to `patience` while another process holds the lock but does not read
    /// the pipe, as while it starts or ends.
    explicit SingleInstance(std::chrono::milliseconds patience = std::chrono::seconds(5));

    Place place() const { return m_place; }

    /// Closes the pipe. Called when this process is about to end: a new process then waits for the
    /// lock instead of asking this one to show its window.
    void retire();

signals:
    /// A second process was started and asks to show this one's window.
    void showRequested();

private:
    Place settle(std::chrono::milliseconds patience) const;
    void listen();
    void takeRequests();

    const Descriptor m_lock;
    const Place m_place;

    /// Open for reading and writing: with a writer left, read() never returns end-of-file.
    Descriptor m_requests;
    std::unique_ptr<QSocketNotifier> m_waiting;
};

} // namespace korvane
