#include "storage/SupportLock.h"
#include "support/Printing.h"
#include "support/Unprivileged.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>

#include <cstdio>
#include <memory>

namespace korvane {

namespace {

const QString argument = QStringLiteral("--hold-the-lock");

/// Runs in another process: takes the lock, prints "locked", and holds it until its input ends.
int holdTheLock()
{
    const SupportLock lock;
    std::puts("locked");
    std::fflush(stdout);
    while (std::getchar() != EOF) { }
    return 0;
}

/// Another process that runs holdTheLock().
class Holder : public QProcess {
public:
    Holder()
    {
        start(QCoreApplication::applicationFilePath(), {argument});
        waitForReadyRead();
    }
    ~Holder() override { end(); }

    bool holds() { return readAllStandardOutput() == "locked\n"; }

    void end()
    {
        closeWriteChannel();
        waitForFinished();
    }
};

/// The text of the error that taking the lock throws, or "(no error)".
std::string lockingError()
{
    try {
        const SupportLock lock;
    } catch (const std::runtime_error& error) {
        return error.what();
    }
    return "(no error)";
}

std::string heldBy(qint64 process)
{
    return "Another export is running (SupportLockTest, process " + std::to_string(process) + ").";
}

} // namespace

/// The lock that allows one export at a time per support folder.
class SupportLockTest : public QObject {
    Q_OBJECT

private slots:
    void init()
    {
        m_folder = std::make_unique<QTemporaryDir>();
        useFolder(QStringLiteral("support"));
    }

    void secondLockOfThisProcessSaysWhoHoldsIt()
    {
        const SupportLock lock;
        QCOMPARE(lockingError(), heldBy(QCoreApplication::applicationPid()));
        QCOMPARE(lockingError(), heldBy(QCoreApplication::applicationPid()));
    }

    void lockOfAnotherProcessSaysWhoHoldsIt()
    {
        Holder holder;
        QVERIFY(holder.holds());
        QCOMPARE(lockingError(), heldBy(holder.processId()));
    }

    void lockIsFreeAfterItsEnd()
    {
        for (int i = 0; i < 3; ++i)
            QCOMPARE(lockingError(), "(no error)");
    }

    void lockOfAProcessThatEndedIsFree()
    {
        Holder holder;
        QVERIFY(holder.holds());
        holder.end();
        QCOMPARE(holder.exitStatus(), QProcess::NormalExit);
        QCOMPARE(lockingError(), "(no error)");
    }

    void lockOfAProcessThatWasKilledIsTakenOver()
    {
        Holder holder;
        QVERIFY(holder.holds());
        holder.kill();
        QVERIFY(holder.waitForFinished());
        QVERIFY(QFile::exists(path(QStringLiteral("support/export.lock"))));
        QCOMPARE(lockingError(), "(no error)");
    }

    void lockThatIsYearsOldStillCounts()
    {
        Holder holder;
        QVERIFY(holder.holds());
        QFile file(path(QStringLiteral("support/export.lock")));
        QVERIFY(file.open(QIODevice::ReadWrite));
        QVERIFY(file.setFileTime(
            QDateTime::currentDateTime().addYears(-2), QFileDevice::FileModificationTime));
        file.close();
        QCOMPARE(lockingError(), heldBy(holder.processId()));
    }

    void lockFileOfAMachineThatStoppedIsTakenOver_data()
    {
        QTest::addColumn<QByteArray>("contents");
        QTest::newRow("nothing in it") << QByteArray();
        QTest::newRow("NULs in it") << QByteArray(64, '\0');
        QTest::newRow("half of it") << QByteArray("4999999\nkorv");
        QTest::newRow("a process that is no more") << QByteArray("4999999\nkorvane-sync\n\n\n\n");
    }

    void lockFileOfAMachineThatStoppedIsTakenOver()
    {
        QFETCH(QByteArray, contents);
        QCOMPARE(lockingError(), "(no error)"); // creates the folder
        QFile file(path(QStringLiteral("support/export.lock")));
        QVERIFY(file.open(QIODevice::WriteOnly));
        QCOMPARE(file.write(contents), qint64(contents.size()));
        QVERIFY(file.flush());
        QVERIFY(file.setFileTime(
            QDateTime::currentDateTime().addSecs(-60), QFileDevice::FileModificationTime));
        file.close();
        QCOMPARE(lockingError(), "(no error)");
    }

    void lockFileThatIsJustBeingWrittenCounts()
    {
        QCOMPARE(lockingError(), "(no error)"); // creates the folder
        QFile file(path(QStringLiteral("support/export.lock")));
        QVERIFY(file.open(QIODevice::WriteOnly));
        QVERIFY(file.setFileTime(
            QDateTime::currentDateTime().addSecs(-2), QFileDevice::FileModificationTime));
        QCOMPARE(lockingError(), "Another export is running (another program).");
    }

    void otherSupportFolderIsNotLocked()
    {
        Holder holder;
        QVERIFY(holder.holds());
        useFolder(QStringLiteral("other"));
        QCOMPARE(lockingError(), "(no error)");
    }

    void supportFolderIsMade()
    {
        useFolder(QStringLiteral("new/folders \u00C4"));
        const SupportLock lock;
        QVERIFY(QFile::exists(path(QStringLiteral("new/folders \u00C4/export.lock"))));
    }

    void folderThatIsAFileIsSaid()
    {
        QFile file(path(QStringLiteral("file")));
        QVERIFY(file.open(QIODevice::WriteOnly));
        useFolder(QStringLiteral("file"));
        QCOMPARE(lockingError(),
            "Can't write to the support folder " + path(QStringLiteral("file")).toStdString()
                + ".");
    }

    void folderWithoutPermissionIsSaid()
    {
        const Unprivileged user;
        if (!user.works())
            QSKIP("needs a user whom permissions stop");
        const QTemporaryDir own;
        qputenv("KORVANE_SYNC_HOME", own.path().toUtf8());
        QVERIFY(QFile::setPermissions(own.path(), QFileDevice::ReadOwner | QFileDevice::ExeOwner));
        QCOMPARE(
            lockingError(), "Can't write to the support folder " + own.path().toStdString() + ".");
    }

private:
    QString path(const QString& name) const { return m_folder->filePath(name); }
    void useFolder(const QString& name) const { qputenv("KORVANE_SYNC_HOME", path(name).toUtf8()); }

    std::unique_ptr<QTemporaryDir> m_folder;
};

} // namespace korvane

int main(int argc, char* argv[])
{
    QCoreApplication application(argc, argv);
    if (application.arguments().value(1) == korvane::argument)
        return korvane::holdTheLock();
    korvane::SupportLockTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "SupportLockTest.moc"
