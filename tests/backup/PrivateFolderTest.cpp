#include "backup/PrivateFolder.h"

#include "backup/BackupError.h"
#include "storage/Files.h"
#include "support/FileMode.h"
#include "support/Printing.h"

#include <QTemporaryDir>

#include <csignal>
#include <functional>

#include <sys/wait.h>
#include <unistd.h>

using namespace korvane;
namespace fs = std::filesystem;

class PrivateFolderTest : public QObject {
    Q_OBJECT

    const QTemporaryDir m_place;

    fs::path place() const { return m_place.path().toStdString(); }

    std::vector<fs::path> places() const { return {place()}; }

    /// How many entries the place has.
    std::ptrdiff_t count() const
    {
        return std::distance(fs::directory_iterator(place()), fs::directory_iterator());
    }

    /// Makes a private folder with a file in a child process, which then dies by the signal.
    void makeAndDie(int signal) const
    {
        const pid_t child = ::fork();
        if (child == 0) {
            ::signal(signal, SIG_DFL);
            const PrivateFolder folder(0, {"sms.db"}, places());
            Files::writeAtomically(folder.file("sms.db-wal"), "secret");
            ::raise(signal);
            ::_exit(0);
        }
        int status = 0;
        ::waitpid(child, &status, 0);
        QVERIFY(WIFSIGNALED(status));
    }

private slots:
    void cleanup() { PrivateFolder::removeLeftovers(places()); }

    void onlyTheUserMayOpenIt()
    {
        const Umask open(0);
        const PrivateFolder folder(0, {}, places());
        QCOMPARE(modeOf(folder.path()), std::string("700"));
        QCOMPARE(folder.path().parent_path(), place());
        const std::string name = folder.path().filename().string();
        QVERIFY2(name.starts_with("korvane-sync-backup." + std::to_string(::getpid()) + '.'),
            name.c_str());
    }

    void itsEndRemovesEverything()
    {
        {
            const PrivateFolder folder(0, {"a.db"}, places());
            Files::writeAtomically(folder.file("a.db"), "a");
            fs::create_directory(folder.file("unexpected"));
        }
        QCOMPARE(count(), 0);
    }

    void exceptionRemovesEverything()
    {
        try {
            const PrivateFolder folder(0, {"a.db"}, places());
            Files::writeAtomically(folder.file("a.db"), "a");
            throw std::runtime_error("");
        } catch (const std::runtime_error&) {
            QCOMPARE(count(), 0);
        }
    }

    void databaseIsRemovedWithItsLog()
    {
        const PrivateFolder folder(0, {"a.db"}, places());
        for (const char* name : {"a.db", "a.db-wal", "a.db-shm", "b.db"})
            Files::writeAtomically(folder.file(name), "a");
        folder.remove("a.db");
        QVERIFY(!fs::exists(folder.file("a.db")) && !fs::exists(folder.file("a.db-wal"))
            && !fs::exists(folder.file("a.db-shm")) && fs::exists(folder.file("b.db")));
    }

    void signalThatCanBeCaughtRemovesIt()
    {
        makeAndDie(SIGTERM);
        QCOMPARE(count(), 0);
    }

    void nextStartRemovesWhatAKilledProcessLeft()
    {
        makeAndDie(SIGKILL);
        makeAndDie(SIGKILL);
        QCOMPARE(count(), 2);
        PrivateFolder::removeLeftovers(places());
        QCOMPARE(count(), 0);
    }

    void folderOfALivingProcessStays()
    {
        const PrivateFolder folder(0, {"a.db"}, places());
        Files::writeAtomically(folder.file("a.db"), "a");
        PrivateFolder::removeLeftovers(places());
        QVERIFY(fs::exists(folder.file("a.db")));
    }

    void leftoverWithoutALockIsRemoved()
    {
        fs::create_directory(place() / "korvane-sync-backup.1.abcdef");
        PrivateFolder::removeLeftovers(places());
        QCOMPARE(count(), 0);
    }

    void whatOthersPutThereStays()
    {
        const QTemporaryDir elsewhere;
        Files::writeAtomically(elsewhere.path().toStdString() + "/kept", "a");
        const fs::path link = place() / "korvane-sync-backup.1.link";
        fs::create_directory_symlink(elsewhere.path().toStdString(), link);
        Files::writeAtomically(place() / "korvane-sync-backup.1.file", "a");
        fs::create_directory(place() / "other");
        PrivateFolder::removeLeftovers(places());
        QCOMPARE(count(), 3);
        QVERIFY(fs::exists(link / "kept"));
        for (const char* name :
            {"korvane-sync-backup.1.link", "korvane-sync-backup.1.file", "other"})
            fs::remove(place() / name);
    }

    void temporaryFilesOfSqliteAreInIt()
    {
        if (!fs::exists("/proc/self/fd"))
            QSKIP("needs /proc");
        const PrivateFolder folder(0, {"a.db"}, places());
        Sqlite database = Sqlite::openForWriting(folder.file("a.db"));
        database.execute("PRAGMA journal_mode = OFF; CREATE TABLE t (a)");
        database.execute("WITH n(i) AS (VALUES (1) UNION ALL SELECT i + 1 FROM n WHERE i < 60000) "
                         "INSERT INTO t SELECT randomblob(500) FROM n");
        Sqlite::Statement sorted(database, "SELECT a FROM t ORDER BY a");
        QVERIFY(sorted.step());
        int count = 0;
        for (const auto& entry : fs::directory_iterator("/proc/self/fd")) {
            std::error_code closed; // the folder's own descriptor, for one
            const std::string file = fs::read_symlink(entry.path(), closed).string();
            count += file.ends_with(" (deleted)") ? 1 : 0;
            if (file.ends_with(" (deleted)"))
                QVERIFY2(file.starts_with(folder.path().string() + '/'), file.c_str());
        }
        QVERIFY(count > 0);
    }

    void placeInMemoryComesFirst()
    {
        if (!isMemoryFileSystem("/dev/shm") || isMemoryFileSystem(place()))
            QSKIP("needs /dev/shm in memory, and temporary files on disk");
        const PrivateFolder folder(0, {}, {place(), "/dev/shm"});
        QCOMPARE(folder.path().parent_path(), fs::path("/dev/shm"));
        QVERIFY(folder.isInMemory());
    }

    void placeWithoutRoomForTemporaryFilesIsPassedOver()
    {
        if (!isMemoryFileSystem("/dev/shm") || isMemoryFileSystem(place()))
            QSKIP("needs /dev/shm in memory, and temporary files on disk");
        const auto inMemory = static_cast<std::int64_t>(fs::space("/dev/shm").available);
        const std::int64_t copies = inMemory / 4 * 3;
        if (fs::space(place()).available
            < static_cast<std::uintmax_t>(copies) / 2 * 3 + (64U << 20))
            QSKIP("needs more room on disk than in memory");
        const PrivateFolder folder(copies, {}, {place(), "/dev/shm"});
        QCOMPARE(folder.path().parent_path(), place());
        QVERIFY(!folder.isInMemory());
    }

    void placeThatDoesNotExistIsPassedOver()
    {
        const PrivateFolder folder(0, {}, {place() / "absent", place()});
        QCOMPARE(folder.path().parent_path(), place());
    }

    void noRoomAnywhereIsAnError()
    {
        constexpr std::int64_t pebi = std::int64_t(1) << 50;
        std::string complaint;
        try {
            const PrivateFolder folder(pebi, {}, places());
        } catch (const BackupError& error) {
            complaint = error.what();
        }
        QCOMPARE(complaint,
            std::string(
                "There is no room for a private copy of 1073741824 MiB, which needs 1610612744 MiB "
                "with SQLite's temporary files. Free some space, or set TMPDIR to a folder that "
                "has it."));
        QCOMPARE(count(), 0);
    }

    void systemHasAPlace() { QVERIFY(!PrivateFolder::places().empty()); }
};

QTEST_GUILESS_MAIN(PrivateFolderTest)
#include "PrivateFolderTest.moc"
