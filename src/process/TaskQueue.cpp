#include "process/TaskQueue.h"

#include <QPointer>

#include <utility>

namespace korvane {

TaskQueue::TaskQueue()
{
    connect(this, &TaskQueue::posted, this, &TaskQueue::runAll, Qt::QueuedConnection);
}

TaskQueue::~TaskQueue()
{
    const std::lock_guard lock(
        m_lock); // orders the thread's tasks before what the caller does next
    m_tasks.clear();
}

void TaskQueue::post(Task task)
{
    {
        const std::lock_guard lock(m_lock);
        m_tasks.push_back(std::move(task));
    }
    emit posted();
}

void TaskQueue::runAll()
{
    const QPointer<TaskQueue> self(this); // null once a task has destroyed this object
    while (self) {
        const Task task = next();
        if (!task)
            return;
        task();
    }
}

/// Returns an empty function if there is none.
TaskQueue::Task TaskQueue::next()
{
    const std::lock_guard lock(m_lock);
    if (m_tasks.empty())
        return {};
    Task task = std::move(m_tasks.front());
    m_tasks.pop_front();
    return task;
}

} // namespace korvane
