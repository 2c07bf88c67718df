#include "app/SingleInstance.h"

#include "support/FileMode.h"
#include "support/Unprivileged.h"

#include <QFile>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QThread>
#include <QtTest/QTest>

#include <chrono>
#include <memory>

#include <fcntl.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace korvane;

/// One window per support folder. flock() locks belong to the open file, not to the process, so two
/// objects in one process act like two programs.
class SingleInstanceTest : public QObject {
    Q_OBJECT

    QString path(const char* name) const { return m_folder->filePath(QLatin1String(name)); }

    using Role = SingleInstance::Role;
    static constexpr std::chrono::milliseconds briefly{50};

    void use(const char* folder) { m_support = SupportFolder(path(folder).toStdString()); }

private slots:
    void init()
    {
        m_folder = std::make_unique<QTemporaryDir>();
        use("support");
    }

    void secondOneAsksTheFirstToShowItself()
    {
        const SingleInstance first(m_support);
        QSignalSpy requests(&first, &SingleInstance::showRequested);
        QCOMPARE(first.role(), Role::Primary);
        QCOMPARE(SingleInstance(m_support).role(), Role::Secondary);
        QVERIFY(requests.wait());
        QCOMPARE(SingleInstance(m_support).role(), Role::Secondary);
        QVERIFY(requests.wait());
    }

    void requestMadeBeforeTheFirstOneListensIsKept()
    {
        const SingleInstance first(m_support);
        QCOMPARE(SingleInstance(m_support).role(), Role::Secondary);
        QSignalSpy requests(&first, &SingleInstance::showRequested);
        QVERIFY(requests.wait());
    }

    void manyRequestsAtOnceAreAnsweredAndOver()
    {
        const SingleInstance first(m_support);
        QSignalSpy requests(&first, &SingleInstance::showRequested);
        for (int i = 0; i < 200; ++i)
            QCOMPARE(SingleInstance(m_support).role(), Role::Secondary);
        QVERIFY(requests.wait());
        requests.clear();
        QTest::qWait(50);
        QCOMPARE(requests.count(), 0); // no request is left over
    }

    void placeOfOneThatEndedIsFree()
    {
        {
            const SingleInstance first(m_support);
        }
        const SingleInstance next(m_support);
        QCOMPARE(next.role(), Role::Primary);
        QCOMPARE(SingleInstance(m_support).role(), Role::Secondary);
    }

    void placeOfAProcessThatWasKilledIsFree()
    {
        int ready[2];
        QCOMPARE(::pipe(ready), 0);
        const pid_t child = ::fork();
        if (child == 0) {
            const SingleInstance first(m_support);
            const char told = first.role() == Role::Primary ? 'y' : 'n';
            [[maybe_unused]] const auto written = ::write(ready[1], &told, 1);
            ::pause();
        }
        char told = 0;
        QCOMPARE(::read(ready[0], &told, 1), ssize_t(1));
        QCOMPARE(told, 'y');
        QCOMPARE(SingleInstance(m_support).role(), Role::Secondary);
        ::kill(child, SIGKILL);
        ::waitpid(child, nullptr, 0);
        QCOMPARE(SingleInstance(m_support).role(), Role::Primary);
    }

    void processThatHoldsTheLockButDoesNotListenIsNoticed()
    {
        SingleInstance first(m_support);
        first.retire();
        QCOMPARE(SingleInstance(m_support, briefly).role(), Role::Blocked);
        QVERIFY(QFile::remove(path("support/window.pipe")));
        QCOMPARE(SingleInstance(m_support, briefly).role(), Role::Blocked);
    }

    void placeOfOneThatIsEndingIsWaitedFor()
    {
        auto first = std::make_unique<SingleInstance>(m_support);
        first->retire();
        const std::unique_ptr<QThread> ending(QThread::create([&first] {
            QThread::msleep(100);
            first.reset();
        }));
        ending->start();
        const SingleInstance next(m_support);
        QCOMPARE(next.role(), Role::Primary);
        QVERIFY(ending->wait());
        QCOMPARE(SingleInstance(m_support).role(), Role::Secondary);
    }

    void pipeFullOfRequestsBlocksTheNext()
    {
        const SingleInstance first(m_support); // it hangs: its event loop does not run
        const Descriptor pipe(
            ::open(path("support/window.pipe").toLocal8Bit(), O_WRONLY | O_NONBLOCK));
        const std::string requests(4096, 's');
        while (::write(pipe.get(), requests.data(), requests.size()) > 0) { }
        QCOMPARE(SingleInstance(m_support, briefly).role(), Role::Blocked);
    }

    void otherSupportFolderHasItsOwn()
    {
        const SingleInstance first(m_support);
        use("another");
        QCOMPARE(SingleInstance(m_support).role(), Role::Primary);
    }

    void lockAndPipeAreForTheUserAlone()
    {
        const SingleInstance first(m_support);
        QCOMPARE(modeOf(path("support/window.lock").toStdString()), "600");
        QCOMPARE(modeOf(path("support/window.pipe").toStdString()), "600");
    }

    void fileInPlaceOfThePipeIsLeftAlone()
    {
        QVERIFY(QDir().mkpath(path("support")));
        QFile file(path("support/window.pipe"));
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write("precious");
        file.close();
        const SingleInstance first(m_support);
        QCOMPARE(first.role(), Role::Primary);
        QCOMPARE(SingleInstance(m_support, briefly).role(), Role::Blocked);
        QVERIFY(file.open(QIODevice::ReadOnly));
        QCOMPARE(file.readAll(), QByteArray("precious"));
    }

    void folderThatTakesNoFilesDoesNotKeepTheProgramFromStarting()
    {
        QVERIFY(QDir().mkpath(path("support")));
        const Unprivileged user;
        QFile::setPermissions(path("support"), QFile::ReadOwner | QFile::ExeOwner);
        QCOMPARE(SingleInstance(m_support).role(), Role::Primary);
        QCOMPARE(SingleInstance(m_support).role(), Role::Primary);
        QFile::setPermissions(path("support"), QFile::Permissions(0x7000));
    }

private:
    std::unique_ptr<QTemporaryDir> m_folder;
    SupportFolder m_support{{}};
};

QTEST_GUILESS_MAIN(SingleInstanceTest)
#include "SingleInstanceTest.moc"
