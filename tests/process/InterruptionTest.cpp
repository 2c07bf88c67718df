#include "process/Interruption.h"

#include <QElapsedTimer>
#include <QtTest/QTest>

#include <csignal>
#include <functional>

#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace korvane;

/// Where a signal may kill the process, a child process raises it, and exits with 7 if it survives.
class InterruptionTest : public QObject {
    Q_OBJECT

private slots:
    void firstSignalAsksForTheEnd_data() { addSignals(); }
    void firstSignalAsksForTheEnd()
    {
        QFETCH(int, signal);
        const Interruption interruption;
        QVERIFY(!interruption.requested());
        QVERIFY(!isReadable(interruption.descriptor()));
        ::raise(signal);
        QVERIFY(interruption.requested());
        QVERIFY(isReadable(interruption.descriptor()));
    }

    void signalEndsASleep()
    {
        const Interruption interruption;
        QElapsedTimer since;
        since.start();
        ::raise(SIGTERM);
        interruption.sleep(std::chrono::hours(1));
        QVERIFY(!since.hasExpired(10'000));
    }

    void secondSigintKills()
    {
        const int status = statusAfter([] {
            const Interruption interruption;
            ::raise(SIGINT);
            ::raise(SIGINT);
        });
        QVERIFY(WIFSIGNALED(status));
        QCOMPARE(WTERMSIG(status), SIGINT);
    }

    void endOfASessionMaySendSeveralSignals()
    {
        const int status = statusAfter([] {
            const Interruption interruption;
            for (const int signal : {SIGHUP, SIGHUP, SIGTERM, SIGTERM, SIGHUP})
                ::raise(signal);
        });
        QVERIFY(WIFEXITED(status));
        QCOMPARE(WEXITSTATUS(status), cameToItsEnd);
    }

    void ignoredSignalStaysIgnored_data() { addSignals(); }
    void ignoredSignalStaysIgnored()
    {
        QFETCH(int, signal);
        const int status = statusAfter([signal] {
            ::signal(signal, SIG_IGN); // as nohup does with SIGHUP
            const Interruption interruption;
            ::raise(signal);
            if (interruption.requested())
                ::_exit(1);
        });
        QVERIFY(WIFEXITED(status));
        QCOMPARE(WEXITSTATUS(status), cameToItsEnd);
    }

    void signalsKillAgainAfterwards_data() { addSignals(); }
    void signalsKillAgainAfterwards()
    {
        QFETCH(int, signal);
        const int status = statusAfter([signal] {
            {
                const Interruption interruption;
                ::raise(signal);
            }
            ::raise(signal);
        });
        QVERIFY(WIFSIGNALED(status));
        QCOMPARE(WTERMSIG(status), signal);
    }

    void nextOneBeginsAnew()
    {
        {
            const Interruption interruption;
            ::raise(SIGTERM);
        }
        const Interruption interruption;
        QVERIFY(!interruption.requested());
        QVERIFY(!isReadable(interruption.descriptor()));
    }

private:
    static constexpr int cameToItsEnd = 7;

    /// Runs the function in a child process and returns its status, as from waitpid().
    static int statusAfter(const std::function<void()>& run)
    {
        const pid_t child = ::fork();
        if (child == 0) {
            for (const int signal : {SIGINT, SIGTERM, SIGHUP})
                ::signal(signal, SIG_DFL); // instead of QTest's handlers
            run();
            ::_exit(cameToItsEnd);
        }
        int status = 0;
        ::waitpid(child, &status, 0);
        return status;
    }

    static bool isReadable(int descriptor)
    {
        pollfd poll{descriptor, POLLIN, 0};
        return ::poll(&poll, 1, 0) == 1;
    }

    static void addSignals()
    {
        QTest::addColumn<int>("signal");
        QTest::newRow("SIGINT") << SIGINT;
        QTest::newRow("SIGTERM") << SIGTERM;
        QTest::newRow("SIGHUP") << SIGHUP;
    }
};

QTEST_GUILESS_MAIN(InterruptionTest)
#include "InterruptionTest.moc"
