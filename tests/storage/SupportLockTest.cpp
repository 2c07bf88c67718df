#include "storage/SupportLock.h"
#include "storage/Paths.h"
#include "support/Printing.h"
#include "support/Unprivileged.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>

#include <dlfcn.h>
#include <sys/file.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <memory>

namespace {

/// The error code with which flock() fails in this program; 0 calls the system's flock().
int lockError = 0;

} // namespace

/// Interposes the C library's flock() in the whole program.
extern "C" int flock(int descriptor, int operation)
{
    if (lockError == 0)
        return reinterpret_cast<int (*)(int, int)>(::dlsym(RTLD_NEXT, "flock"))(
            descriptor, operation);
    errno = lockError;
    return -1;
}

namespace korvane {

namespace fs = std::filesystem;

namespace {

const QString argument = QStringLiteral("--hold-the-lock");

/// Runs in another process: takes the lock, prints "locked", and holds it until its input ends.
int holdTheLock(const std::string& folder)
{
    const SupportLock lock{SupportFolder(folder)};
    std::puts("locked");
    std::fflush(stdout);
    while (std::getchar() != EOF) { }
    return 0;
}

/// Another process that runs holdTheLock().
class Holder : public QProcess {
public:
    explicit Holder(const SupportFolder& support)
    {
        start(QCoreApplication::applicationFilePath(),
            {argument, QString::fromStdString(support.path().string())});
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
std::string lockingError(const SupportFolder& support)
{
    try {
        const SupportLock lock(support);
    } catch (const std::runtime_error& error) {
        return error.what();
    }
    return "(no error)";
}

std::string heldBy(qint64 process)
{
    return "Another export is running (SupportLockTest, process " + std::to_string(process) + ").";
}

std::string unwritable(const fs::path& folder)
{
    return "Can't write to the support folder " + folder.string() + ".";
}

/// While it lives, no file can grow, as on a full disk.
class FullDisk {
public:
    FullDisk()
    {
        std::signal(SIGXFSZ, SIG_IGN);
        ::getrlimit(RLIMIT_FSIZE, &m_before);
        const rlimit nothing{0, m_before.rlim_max};
        ::setrlimit(RLIMIT_FSIZE, &nothing);
    }
    ~FullDisk() { ::setrlimit(RLIMIT_FSIZE, &m_before); }
    FullDisk(const FullDisk&) = delete;
    FullDisk& operator=(const FullDisk&) = delete;

private:
    rlimit m_before{};
};

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

    void cleanup() { lockError = 0; }

    void secondLockOfThisProcessSaysWhoHoldsIt()
    {
        const SupportLock lock(m_support);
        QCOMPARE(lockingError(m_support), heldBy(QCoreApplication::applicationPid()));
        QCOMPARE(lockingError(m_support), heldBy(QCoreApplication::applicationPid()));
    }

    void lockOfAnotherProcessSaysWhoHoldsIt()
    {
        Holder holder(m_support);
        QVERIFY(holder.holds());
        QCOMPARE(lockingError(m_support), heldBy(holder.processId()));
    }

    void lockIsFreeAfterItsEnd()
    {
        for (int i = 0; i < 3; ++i)
            QCOMPARE(lockingError(m_support), "(no error)");
    }

    void lockOfAProcessThatEndedIsFree()
    {
        Holder holder(m_support);
        QVERIFY(holder.holds());
        holder.end();
        QCOMPARE(holder.exitStatus(), QProcess::NormalExit);
        QCOMPARE(lockingError(m_support), "(no error)");
    }

    void lockOfAProcessThatWasKilledIsTakenOver()
    {
        Holder holder(m_support);
        QVERIFY(holder.holds());
        holder.kill();
        QVERIFY(holder.waitForFinished());
        QVERIFY(QFile::exists(path(QStringLiteral("support/export.lock"))));
        QCOMPARE(lockingError(m_support), "(no error)");
    }

    void lockThatIsYearsOldStillCounts()
    {
        Holder holder(m_support);
        QVERIFY(holder.holds());
        QFile file(path(QStringLiteral("support/export.lock")));
        QVERIFY(file.open(QIODevice::ReadWrite));
        QVERIFY(file.setFileTime(
            QDateTime::currentDateTime().addYears(-2), QFileDevice::FileModificationTime));
        file.close();
        QCOMPARE(lockingError(m_support), heldBy(holder.processId()));
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
        QCOMPARE(lockingError(m_support), "(no error)"); // creates the folder
        QFile file(path(QStringLiteral("support/export.lock")));
        QVERIFY(file.open(QIODevice::WriteOnly));
        QCOMPARE(file.write(contents), qint64(contents.size()));
        QVERIFY(file.flush());
        QVERIFY(file.setFileTime(
            QDateTime::currentDateTime().addSecs(-60), QFileDevice::FileModificationTime));
        file.close();
        QCOMPARE(lockingError(m_support), "(no error)");
    }

    void holderThatHasNotWrittenItsNameCounts()
    {
        const FileLock holder(m_support.file("export.lock"));
        QVERIFY(holder.tryLock() == FileLock::Outcome::Held);
        QCOMPARE(lockingError(m_support), "Another export is running (another program).");
        holder.leaveNote("12");
        QCOMPARE(lockingError(m_support), "Another export is running (another program).");
    }

    void pipeInTheLocksPlaceIsSaidAtOnce()
    {
        QCOMPARE(::mkfifo(m_support.file("export.lock").c_str(), 0600), 0);
        QCOMPARE(lockingError(m_support),
            "Can't write to the support folder " + m_support.path().string() + ".");
    }

    void folderWhoseNameIsNotUtf8IsLocked()
    {
        const SupportFolder odd(m_support.path() / "caf\xE9");
        const SupportLock lock(odd);
        QVERIFY(fs::exists(m_support.path() / "caf\xE9" / "export.lock"));
        QVERIFY(lockingError(odd).starts_with("Another export is running ("));
    }

    void otherSupportFolderIsNotLocked()
    {
        Holder holder(m_support);
        QVERIFY(holder.holds());
        useFolder(QStringLiteral("other"));
        QCOMPARE(lockingError(m_support), "(no error)");
    }

    void supportFolderIsMade()
    {
        useFolder(QStringLiteral("new/folders \u00C4"));
        const SupportLock lock(m_support);
        QVERIFY(QFile::exists(path(QStringLiteral("new/folders \u00C4/export.lock"))));
    }

    void folderThatIsAFileIsSaid()
    {
        QFile file(path(QStringLiteral("file")));
        QVERIFY(file.open(QIODevice::WriteOnly));
        useFolder(QStringLiteral("file"));
        QCOMPARE(lockingError(m_support),
            "Can't write to the support folder " + path(QStringLiteral("file")).toStdString()
                + ".");
    }

    void folderWithoutPermissionIsSaid()
    {
        const Unprivileged user;
        if (!user.works())
            QSKIP("needs a user whom permissions stop");
        const QTemporaryDir own;
        m_support = SupportFolder(own.path().toStdString());
        QVERIFY(QFile::setPermissions(own.path(), QFileDevice::ReadOwner | QFileDevice::ExeOwner));
        QCOMPARE(lockingError(m_support),
            "Can't write to the support folder " + own.path().toStdString() + ".");
    }

    void folderThatHasBecomeReadOnlyIsSaid()
    {
        const Unprivileged user;
        if (!user.works())
            QSKIP("needs a user whom permissions stop");
        const QTemporaryDir own;
        m_support = SupportFolder(own.path().toStdString());
        QCOMPARE(lockingError(m_support), "(no error)"); // leaves a file that can be locked
        QVERIFY(QFile::setPermissions(own.path(), QFileDevice::ReadOwner | QFileDevice::ExeOwner));
        QCOMPARE(lockingError(m_support), unwritable(m_support.path()));
    }

    void diskThatHasBecomeFullIsSaid()
    {
        QCOMPARE(lockingError(m_support), "(no error)");
        std::string error;
        {
            const FullDisk full;
            error = lockingError(m_support);
        }
        QCOMPARE(error, unwritable(m_support.path()));
        QCOMPARE(lockingError(m_support), "(no error)");
    }

    void fullDiskIsNoObstacleToReading()
    {
        QCOMPARE(lockingError(m_support), "(no error)");
        const FullDisk full;
        const SupportLock lock(m_support, SupportLock::Use::Reading);
        QVERIFY(lockingError(m_support).starts_with("Another export is running ("));
    }

    void lockLeavesNothingButItsFile()
    {
        const SupportLock lock(m_support);
        QCOMPARE(std::distance(fs::directory_iterator(m_support.path()), {}), 1);
    }

    void childThatOutlivesTheLockDoesNotKeepIt()
    {
        const SupportFolder other(path(QStringLiteral("other")).toStdString());
        std::unique_ptr<Holder> child;
        {
            const SupportLock lock(m_support);
            child = std::make_unique<Holder>(other);
            QVERIFY(child->holds());
        }
        QCOMPARE(lockingError(m_support), "(no error)");
    }

    void fileSystemWithoutLocksIsNoError_data()
    {
        QTest::addColumn<int>("error");
        QTest::newRow("no lock daemon") << ENOLCK;
        QTest::newRow("not supported") << ENOTSUP;
        QTest::newRow("not implemented") << ENOSYS;
    }

    void fileSystemWithoutLocksIsNoError()
    {
        QFETCH(const int, error);
        lockError = error;
        QCOMPARE(lockingError(m_support), "(no error)");
    }

private:
    QString path(const QString& name) const { return m_folder->filePath(name); }
    void useFolder(const QString& name) { m_support = SupportFolder(path(name).toStdString()); }

    std::unique_ptr<QTemporaryDir> m_folder;
    SupportFolder m_support{{}};
};

} // namespace korvane

int main(int argc, char* argv[])
{
    QCoreApplication application(argc, argv);
    if (application.arguments().value(1) == korvane::argument)
        return korvane::holdTheLock(application.arguments().value(2).toStdString());
    korvane::SupportLockTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "SupportLockTest.moc"
