#include "process/TaskQueue.h"

#include <QThread>
#include <QtTest/QTest>

#include <memory>
#include <thread>
#include <utility>
#include <vector>

using namespace korvane;

namespace {

/// A queue whose functions run on a thread of its own.
struct ThreadWithQueue {
    ThreadWithQueue() { queue.moveToThread(&thread); }
    ~ThreadWithQueue()
    {
        thread.quit();
        thread.wait();
    }
    ThreadWithQueue(const ThreadWithQueue&) = delete;
    ThreadWithQueue& operator=(const ThreadWithQueue&) = delete;

    /// Runs the functions that were posted so far, and ends the thread.
    void finish()
    {
        thread.start();
        queue.post([this] { thread.quit(); });
        thread.wait();
    }

    QThread thread;
    TaskQueue queue;
};

} // namespace

/// Functions that other threads post to the thread of an event loop.
class TaskQueueTest : public QObject {
    Q_OBJECT

private slots:
    void tasksRunInOrderOnTheQueuesThread()
    {
        constexpr int count = 1000;
        std::vector<int> ran;
        std::vector<int> expected;
        bool isOnItsThread = true;
        {
            ThreadWithQueue worker;
            worker.thread.start();
            for (int i = 0; i < count; ++i) {
                expected.push_back(i);
                worker.queue.post([&, i] {
                    ran.push_back(i);
                    isOnItsThread &= QThread::currentThread() == &worker.thread;
                });
            }
            worker.finish();
        }
        QCOMPARE(ran, expected);
        QVERIFY(isOnItsThread);
    }

    void tasksOfEachThreadKeepTheirOrder()
    {
        constexpr int threads = 4;
        constexpr int count = 500;
        std::vector<std::vector<int>> ran(threads);
        std::vector<int> expected;
        for (int i = 0; i < count; ++i)
            expected.push_back(i);
        {
            ThreadWithQueue worker;
            worker.thread.start();
            std::vector<std::thread> posters;
            for (std::vector<int>& mine : ran) {
                posters.emplace_back([&] {
                    for (const int i : expected)
                        worker.queue.post([&mine, i] { mine.push_back(i); });
                });
            }
            for (std::thread& poster : posters)
                poster.join();
            worker.finish();
        }
        for (const std::vector<int>& each : ran)
            QCOMPARE(each, expected);
    }

    void postDoesNotRunTheTaskItself()
    {
        TaskQueue queue;
        std::vector<int> ran;
        queue.post([&] {
            queue.post([&] { ran.push_back(2); });
            ran.push_back(1);
        });
        QVERIFY(ran.empty());
        QTRY_COMPARE(ran, (std::vector<int>{1, 2}));
    }

    void taskWaitsForItsThreadToStart()
    {
        bool hasRun = false;
        ThreadWithQueue worker;
        worker.queue.post([&] { hasRun = true; });
        QTest::qWait(20);
        QVERIFY(!hasRun);
        worker.finish();
        QVERIFY(hasRun);
    }

    void tasksThatHaveNotRunAreDropped()
    {
        const auto captured = std::make_shared<int>();
        auto queue = std::make_unique<TaskQueue>();
        bool hasRun = false;
        queue->post([&hasRun, captured] { hasRun = true; });
        QCOMPARE(captured.use_count(), 2L);
        queue.reset();
        QCOMPARE(captured.use_count(), 1L);
        QCoreApplication::processEvents();
        QVERIFY(!hasRun);
    }

    void taskMayDestroyItsQueue()
    {
        auto queue = std::make_unique<TaskQueue>();
        bool hasRun = false;
        queue->post([&queue] { queue.reset(); });
        queue->post([&hasRun] { hasRun = true; });
        QTRY_VERIFY(!queue);
        QCoreApplication::processEvents();
        QVERIFY(!hasRun);
    }

    void whatATaskHoldsIsReleasedOnceItHasRun()
    {
        const auto captured = std::make_shared<int>();
        TaskQueue queue;
        queue.post([captured] {});
        QTRY_COMPARE(captured.use_count(), 1L);
    }
};

QTEST_GUILESS_MAIN(TaskQueueTest)
#include "TaskQueueTest.moc"
