#include "process/RemovalOnSignal.h"
#include "process/Interruption.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QtTest/QTest>

#include <csignal>
#include <functional>
#include <optional>

#include <sys/wait.h>
#include <unistd.h>

using namespace korvane;

/// A child process raises each signal, because it may die.
class RemovalOnSignalTest : public QObject {
    Q_OBJECT

private slots:
    void init()
    {
        QVERIFY(m_folder.isValid());
        QVERIFY(QDir().mkpath(folder()));
        QFile file(this->file());
        QVERIFY(file.open(QIODevice::WriteOnly));
    }

    void signalRemovesTheFilesAndKills_data() { addSignals(); }
    void signalRemovesTheFilesAndKills()
    {
        QFETCH(const int, signal);
        const int status = statusAfter([&] {
            const RemovalOnSignal removal(files(), folder().toStdString());
            ::raise(signal);
        });
        QVERIFY(WIFSIGNALED(status));
        QCOMPARE(WTERMSIG(status), signal);
        QVERIFY(!QFile::exists(folder()));
    }

    void ignoredSignalStaysIgnored()
    {
        const int status = statusAfter([&] {
            ::signal(SIGHUP, SIG_IGN);
            const RemovalOnSignal removal(files(), folder().toStdString());
            ::raise(SIGHUP);
        });
        QVERIFY(WIFEXITED(status));
        QVERIFY(QFile::exists(file()));
    }

    void interruptionGoesFirst()
    {
        const int status = statusAfter([&] {
            const RemovalOnSignal removal(files(), folder().toStdString());
            const Interruption interruption;
            ::raise(SIGINT);
            if (!interruption.requested() || !QFile::exists(file()))
                ::_exit(1);
        });
        QVERIFY(WIFEXITED(status));
        QCOMPARE(WEXITSTATUS(status), cameToItsEnd);
        QVERIFY(QFile::exists(file()));
    }

    void secondSigintDuringAnInterruptionRemovesAndKills()
    {
        const int status = statusAfter([&] {
            const RemovalOnSignal removal(files(), folder().toStdString());
            const Interruption interruption;
            ::raise(SIGINT);
            ::raise(SIGINT);
        });
        QVERIFY(WIFSIGNALED(status));
        QCOMPARE(WTERMSIG(status), SIGINT);
        QVERIFY(!QFile::exists(folder()));
    }

    void afterwardsASignalOnlyKills()
    {
        const int status = statusAfter([&] {
            std::optional<RemovalOnSignal> removal(std::in_place, files(), folder().toStdString());
            const Interruption interruption; // remembers the action of the removal
            removal.reset();
            ::raise(SIGINT);
            ::raise(SIGINT);
        });
        QVERIFY(WIFSIGNALED(status));
        QCOMPARE(WTERMSIG(status), SIGINT);
        QVERIFY(QFile::exists(file()));
    }

    void folderWithOtherFilesStays()
    {
        const int status = statusAfter([&] {
            const RemovalOnSignal removal({}, folder().toStdString());
            ::raise(SIGTERM);
        });
        QVERIFY(WIFSIGNALED(status));
        QVERIFY(QFile::exists(file()));
    }

private:
    static constexpr int cameToItsEnd = 7;

    QString folder() const { return m_folder.filePath(QStringLiteral("private")); }
    QString file() const { return folder() + QStringLiteral("/file"); }

    std::vector<std::string> files() const
    {
        return {file().toStdString(), (folder() + QStringLiteral("/absent")).toStdString()};
    }

    static void addSignals()
    {
        QTest::addColumn<int>("signal");
        QTest::newRow("Ctrl-C") << SIGINT;
        QTest::newRow("kill") << SIGTERM;
        QTest::newRow("closed terminal") << SIGHUP;
        QTest::newRow("Ctrl-\\") << SIGQUIT;
        QTest::newRow("closed pipe") << SIGPIPE;
        QTest::newRow("limit on time") << SIGXCPU;
        QTest::newRow("failed assertion") << SIGABRT;
    }

    /// The exit status of a child process that runs `work`. QTest's own handlers are removed.
    static int statusAfter(const std::function<void()>& work)
    {
        const pid_t child = ::fork();
        if (child == 0) {
            for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGQUIT, SIGPIPE, SIGXCPU, SIGABRT})
                ::signal(signal, SIG_DFL);
            work();
            ::_exit(cameToItsEnd);
        }
        int status = 0;
        ::waitpid(child, &status, 0);
        return status;
    }

    const QTemporaryDir m_folder;
};

QTEST_GUILESS_MAIN(RemovalOnSignalTest)
#include "RemovalOnSignalTest.moc"
