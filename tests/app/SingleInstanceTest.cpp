#include "app/SingleInstance.h"

#include "support/FileMode.h"
#include "support/Unprivileged.h"

#include <QFile>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QtTest/QTest>

#include <memory>

#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace korvane;

/// One window for each support folder. Locks are told apart by who opened them, so that two objects
/// stand for two programs.
class SingleInstanceTest : public QObject {
    Q_OBJECT

    QString path(const char* name) const { return m_folder->filePath(QLatin1String(name)); }

    void use(const char* folder) const { qputenv("KORVANE_SYNC_HOME", path(folder).toLocal8Bit()); }

private slots:
    void init()
    {
        m_folder = std::make_unique<QTemporaryDir>();
        use("support");
    }

    void secondOneAsksTheFirstToShowItself()
    {
        const SingleInstance first;
        QSignalSpy requests(&first, &SingleInstance::showRequested);
        QVERIFY(!first.askedFirst());
        QVERIFY(SingleInstance().askedFirst());
        QVERIFY(requests.wait());
        QVERIFY(SingleInstance().askedFirst());
        QVERIFY(requests.wait());
    }

    void requestMadeBeforeTheFirstOneListensIsKept()
    {
        const SingleInstance first;
        QVERIFY(SingleInstance().askedFirst());
        QSignalSpy requests(&first, &SingleInstance::showRequested);
        QVERIFY(requests.wait());
    }

    void manyRequestsAtOnceAreAnsweredAndOver()
    {
        const SingleInstance first;
        QSignalSpy requests(&first, &SingleInstance::showRequested);
        for (int i = 0; i < 200; ++i)
            QVERIFY(SingleInstance().askedFirst());
        QVERIFY(requests.wait());
        requests.clear();
        QTest::qWait(50);
        QCOMPARE(requests.count(), 0); // none is left to wake the program again
    }

    void placeOfOneThatEndedIsFree()
    {
        {
            const SingleInstance first;
        }
        const SingleInstance next;
        QVERIFY(!next.askedFirst());
        QVERIFY(SingleInstance().askedFirst());
    }

    void placeOfAProcessThatWasKilledIsFree()
    {
        int ready[2];
        QCOMPARE(::pipe(ready), 0);
        const pid_t child = ::fork();
        if (child == 0) {
            const SingleInstance first;
            const char told = first.askedFirst() ? 'n' : 'y';
            [[maybe_unused]] const auto written = ::write(ready[1], &told, 1);
            ::pause();
        }
        char told = 0;
        QCOMPARE(::read(ready[0], &told, 1), ssize_t(1));
        QCOMPARE(told, 'y');
        QVERIFY(SingleInstance().askedFirst());
        ::kill(child, SIGKILL);
        ::waitpid(child, nullptr, 0);
        QVERIFY(!SingleInstance().askedFirst());
    }

    void otherSupportFolderHasItsOwn()
    {
        const SingleInstance first;
        use("another");
        QVERIFY(!SingleInstance().askedFirst());
    }

    void lockAndPipeAreForTheUserAlone()
    {
        const SingleInstance first;
        QCOMPARE(modeOf(path("support/window.lock").toStdString()), "600");
        QCOMPARE(modeOf(path("support/window.pipe").toStdString()), "600");
    }

    void fileInThePipesPlaceIsLeftAlone()
    {
        QVERIFY(QDir().mkpath(path("support")));
        QFile file(path("support/window.pipe"));
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write("precious");
        file.close();
        const SingleInstance first;
        const SingleInstance second;
        QVERIFY(!first.askedFirst());
        QVERIFY(!second.askedFirst());
        QVERIFY(file.open(QIODevice::ReadOnly));
        QCOMPARE(file.readAll(), QByteArray("precious"));
    }

    void folderThatTakesNoFilesDoesNotKeepTheProgramFromStarting()
    {
        QVERIFY(QDir().mkpath(path("support")));
        const Unprivileged user;
        QFile::setPermissions(path("support"), QFile::ReadOwner | QFile::ExeOwner);
        QVERIFY(!SingleInstance().askedFirst());
        QVERIFY(!SingleInstance().askedFirst());
        QFile::setPermissions(path("support"), QFile::Permissions(0x7000));
    }

private:
    std::unique_ptr<QTemporaryDir> m_folder;
};

QTEST_GUILESS_MAIN(SingleInstanceTest)
#include "SingleInstanceTest.moc"
