#include "process/ExitHook.h"

#include <QtTest/QTest>

#include <cstdlib>

#include <sys/wait.h>
#include <unistd.h>

using namespace korvane;

class ExitHookTest : public QObject {
    Q_OBJECT

private slots:
    void exitCallsTheFunction()
    {
        QCOMPARE(codeAfter([] {
            const ExitHook hook([] { ::_exit(2); });
            std::exit(1);
        }),
            2);
    }

    void functionIsNotCalledOnceTheHookIsGone()
    {
        QCOMPARE(codeAfter([] { const ExitHook hook([] { ::_exit(2); }); }), 1);
    }

    void latestHookCounts()
    {
        QCOMPARE(codeAfter([] {
            {
                const ExitHook first([] { ::_exit(2); });
            }
            const ExitHook second([] { ::_exit(3); });
            std::exit(1);
        }),
            3);
    }

    void runWithoutAHookDoesNothing()
    {
        ExitHook::run();
        QCOMPARE(codeAfter([] {}), 1);
    }

private:
    /// Runs the function, then exit(1), in a child process. Returns its exit code; -1 if killed.
    template <typename Function>
    static int codeAfter(Function run)
    {
        const pid_t child = ::fork();
        if (child == 0) {
            run();
            std::exit(1);
        }
        int status = 0;
        ::waitpid(child, &status, 0);
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }
};

QTEST_GUILESS_MAIN(ExitHookTest)
#include "ExitHookTest.moc"
