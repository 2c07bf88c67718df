#pragma once

#include <QObject>

#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>

namespace korvane {

/// Runs jobs one at a time, in order, on its own thread. The object lives on its owner's thread,
/// whose event loop delivers the results. The destructor waits for the running job, and drops
/// queued jobs and undelivered results.
class Worker : public QObject {
    Q_OBJECT

public:
    /// Handles a job's result. Runs on the owner's thread.
    using Delivery = std::function<void()>;

    /// Runs on the worker thread. Must own all data that it uses, and must not throw.
    using Job = std::function<Delivery()>;

    Worker();
    ~Worker() override;

    /// Queues a job. It never runs if stop() is called before its turn.
    void run(Job job);

    /// Blocks until no job is running; its result may still be undelivered then. May be called from
    /// any thread except the worker's.
    void waitForJob();

    /// Like waitForJob(), and no further job starts.
    void stop();

signals:
    /// Emitted on the worker's thread; deliver() runs on the owner's by a queued connection.
    void jobDone();

private:
    void work();
    Job nextJob();
    void deliver();

    std::mutex m_lock;
    std::condition_variable m_changed;
    std::deque<Job> m_jobs; ///< guarded by `m_lock`
    std::deque<Delivery> m_deliveries; ///< guarded by `m_lock`
    bool m_working = false; ///< a job is running; guarded by `m_lock`
    bool m_ending = false; ///< stop() was called; guarded by `m_lock`
    std::thread m_thread; ///< started in the constructor, joined in the destructor
};

} // namespace korvane
