#pragma once

#include "process/TaskQueue.h"

#include <QThread>

#include <condition_variable>
#include <functional>
#include <mutex>

namespace korvane {

/// Runs jobs one at a time, in order, on its own thread. The object lives on its owner's thread,
/// whose event loop delivers the results. The destructor waits for the running job, and drops
/// queued jobs and undelivered results.
class Worker {
public:
    /// Handles a job's result. Runs on the owner's thread.
    using Delivery = TaskQueue::Task;

    /// Runs on the worker thread. Must own all data that it uses, and must not throw. Must not run
    /// an event loop either, because that would start the next job inside this one.
    using Job = std::function<Delivery()>;

    Worker();
    ~Worker();
    Worker(const Worker&) = delete;
    Worker& operator=(const Worker&) = delete;

    /// Queues a job. It never runs if stop() is called before its turn.
    void run(Job job);

    /// Blocks until no job is running; its result may still be undelivered then. May be called from
    /// any thread except the worker's.
    void waitForJob();

    /// Like waitForJob(), and no further job starts.
    void stop();

private:
    void perform(const Job& job);

    std::mutex m_lock;
    std::condition_variable m_idle;
    bool m_working = false; ///< a job is running; guarded by `m_lock`
    bool m_ending = false; ///< stop() was called; guarded by `m_lock`
    TaskQueue m_deliveries; ///< lives on the owner's thread
    QThread m_thread;
    TaskQueue m_jobs; ///< lives on `m_thread`
};

} // namespace korvane
