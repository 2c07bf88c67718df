#include "state/Worker.h"

namespace korvane {

Worker::Worker()
{
    connect(this, &Worker::jobDone, this, &Worker::deliver, Qt::QueuedConnection);
    m_thread = std::thread([this] { work(); });
}

Worker::~Worker()
{
    stop();
    m_thread.join();
}

void Worker::waitForJob()
{
    std::unique_lock lock(m_lock);
    m_changed.wait(lock, [this] { return !m_working; });
}

void Worker::stop()
{
    {
        const std::lock_guard lock(m_lock);
        m_ending = true;
    }
    m_changed.notify_all();
    waitForJob();
}

void Worker::run(Job job)
{
    {
        const std::lock_guard lock(m_lock);
        m_jobs.push_back(std::move(job));
    }
    m_changed.notify_all();
}

void Worker::work()
{
    while (const Job job = nextJob()) {
        Delivery delivery = job();
        {
            const std::lock_guard lock(m_lock);
            m_deliveries.push_back(std::move(delivery));
            m_working = false;
        }
        m_changed.notify_all();
        emit jobDone();
    }
}

/// Blocks until there is a job. Returns an empty function once stop() was called.
Worker::Job Worker::nextJob()
{
    std::unique_lock lock(m_lock);
    m_changed.wait(lock, [this] { return m_ending || !m_jobs.empty(); });
    if (m_ending)
        return {};
    Job job = std::move(m_jobs.front());
    m_jobs.pop_front();
    m_working = true;
    return job;
}

void Worker::deliver()
{
    Delivery delivery;
    {
        const std::lock_guard lock(m_lock);
        delivery = std::move(m_deliveries.front());
        m_deliveries.pop_front();
    }
    delivery();
}

} // namespace korvane
