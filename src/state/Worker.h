#pragma once

#include <QObject>

#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>

namespace korvane {

/// Runs jobs one after the other on a thread of its own. Lives on the thread of its owner, where
/// what a job leads to runs. Destroying it waits for the job at hand and drops all others, and
/// what is still to be delivered.
class Worker : public QObject {
    Q_OBJECT

public:
    /// What is left to do on the owner's thread.
    using Delivery = std::function<void()>;
    using Job = std::function<Delivery()>;

    Worker();
    ~Worker() override;

    /// `job` owns all that it needs and throws nothing.
    void run(Job job);

    /// Waits for the job at hand, if there is one. May be called from any thread but the worker's.
    void waitForJob();

    /// The same, and begins no other job after it.
    void stop();

signals:
    /// From the worker's thread.
    void jobDone();

private:
    void work();
    Job nextJob();
    void deliver();

    std::mutex m_lock;
    std::condition_variable m_changed;
    std::deque<Job> m_jobs; ///< guarded by `m_lock`
    std::deque<Delivery> m_deliveries; ///< guarded by `m_lock`
    bool m_working = false; ///< a job is at hand; guarded by `m_lock`
    bool m_ending = false; ///< guarded by `m_lock`
    std::thread m_thread; ///< last: it begins with everything else in place
};

} // namespace korvane
