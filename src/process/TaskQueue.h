#pragma once

#include <QObject>

#include <deque>
#include <functional>
#include <mutex>

namespace korvane {

/// Functions that any thread posts and that run, in order, in the event loop of the thread that
/// this object lives on (QObject::moveToThread()). The destructor drops the functions that have not
/// run. Destroy the object on its thread, also from within one of its functions, or after that
/// thread has ended.
///
/// Qt's own queued invocation would do the same, but hides it from the thread sanitizer: the locks
/// inside Qt are not instrumented, so the sanitizer would report a race on everything that such a
/// function has captured. Here the functions are handed over under a mutex of this class, and the
/// queued signal, which has no arguments, only wakes the event loop.
class TaskQueue : public QObject {
    Q_OBJECT

public:
    /// Must not throw.
    using Task = std::function<void()>;

    TaskQueue();
    ~TaskQueue() override;

    /// Never runs the task itself, even if called on the queue's thread. A task that is posted
    /// before the thread's event loop runs waits for it.
    void post(Task task);

signals:
    void posted();

private:
    void runAll();
    Task next();

    std::mutex m_lock;
    std::deque<Task> m_tasks; ///< guarded by `m_lock`
};

} // namespace korvane
