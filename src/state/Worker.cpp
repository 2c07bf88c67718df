#include "state/Worker.h"

#include <utility>

namespace korvane {

Worker::Worker()
{
    m_thread.setObjectName(QStringLiteral("KorvaneSync.worker"));
    m_jobs.moveToThread(&m_thread);
    m_thread.start();
}

Worker::~Worker()
{
    stop();
    m_thread.quit();
    m_thread.wait();
}

void Worker::run(Job job)
{
    m_jobs.post([this, job = std::move(job)] { perform(job); });
}

void Worker::waitForJob()
{
    std::unique_lock lock(m_lock);
    m_idle.wait(lock, [this] { return !m_working; });
}

void Worker::stop()
{
    {
        const std::lock_guard lock(m_lock);
        m_ending = true;
    }
    waitForJob();
}

void Worker::perform(const Job& job)
{
    {
        const std::lock_guard lock(m_lock);
        if (m_ending)
            return;
        m_working = true;
    }
    m_deliveries.post(job());
    {
        const std::lock_guard lock(m_lock);
        m_working = false;
    }
    m_idle.notify_all();
}

} // namespace korvane
