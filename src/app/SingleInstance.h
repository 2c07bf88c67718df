#pragma once

#include "storage/FileLock.h"
#include "storage/Paths.h"

#include <QObject>
#include <QSocketNotifier>

#include <chrono>
#include <filesystem>
#include <memory>

namespace korvane {

/// Ensures that only one window program at a time uses a support folder. The primary
/// process holds a lock on "window.lock" in that folder and reads the named pipe "window.pipe". A
/// secondary process writes one byte to the pipe, which asks the primary one to show its window,
/// and then exits. Only the file owner may write to the pipe. Main thread only.
class SingleInstance : public QObject {
    Q_OBJECT

public:
    enum class Role {
        Primary, ///< the only one: opens its window
        Secondary, ///< another process is the primary one and was asked to show its window

        /// Another process holds the lock but does not read the pipe: it is taking long to start or
        /// to end, could not make the pipe, or runs on another machine.
        Blocked,
    };

    /// If the lock file cannot be opened or locked, every process is the primary one. Blocks for up
    /// to `timeout` while another process holds the lock but does not read the pipe, as while it
    /// starts or ends.
    explicit SingleInstance(
        const SupportFolder& support, std::chrono::milliseconds timeout = std::chrono::seconds(5));

    Role role() const { return m_role; }

    /// Closes the pipe. Called when this process is about to end: a new process then waits for the
    /// lock instead of asking this one to show its window.
    void retire();

signals:
    /// Another process was started and asks to show this one's window.
    void showRequested();

private:
    Role settledRole(std::chrono::milliseconds timeout) const;
    bool askToShow() const;
    void listen();
    void takeRequests();

    const std::filesystem::path m_pipe;
    const FileLock m_lock;
    const Role m_role;

    /// Open for reading and writing: with a writer left, read() never returns end-of-file.
    Descriptor m_requests;
    std::unique_ptr<QSocketNotifier> m_waiting;
};

} // namespace korvane
