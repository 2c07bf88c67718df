#include "storage/LastRead.h"
#include "messages/Sqlite.h"
#include "support/Printing.h"
#include "support/TestDatabase.h"

#include <QtTest/QTest>
#include <dlfcn.h>
#include <fcntl.h>
#include <linux/magic.h>
#include <sys/stat.h>
#include <sys/vfs.h>

#include <cerrno>
#include <fstream>
#include <functional>
#include <stdexcept>

namespace {

/// The file system type that statfs() reports in this program. Absent: the real one; 0: it fails.
std::optional<std::uint32_t> pretendedType;

} // namespace

/// Interposes the C library's statfs() in the whole program.
extern "C" int statfs(const char* file, struct statfs* info) noexcept
{
    const auto call
        = reinterpret_cast<int (*)(const char*, struct statfs*)>(::dlsym(RTLD_NEXT, "statfs"));
    const int code = call(file, info);
    if (!pretendedType)
        return code;
    info->f_type = static_cast<decltype(info->f_type)>(*pretendedType);
    errno = EIO;
    return *pretendedType == 0 ? -1 : code;
}

namespace korvane {

namespace fs = std::filesystem;

using namespace std::chrono_literals;

namespace {

using Clock = LastRead::Clock;

/// A database in WAL mode, without automatic checkpoints, whose messages are in the log.
class LoggedDatabase : public TestDatabase {
public:
    LoggedDatabase()
    {
        sql().execute("PRAGMA journal_mode = WAL; PRAGMA wal_autocheckpoint = 0");
        addHandle(1, "+12025550178");
        addChat(1, "G");
        addMessage(1, "first");
    }

    std::string log() const { return path() + "-wal"; }
    std::string index() const { return path() + "-shm"; }
    FileStamp stamp() const { return FileStamp::of(path()).value(); }
    FileStamp logStamp() const { return FileStamp::of(log()).value(); }

    void leaveWalMode() { sql().execute("PRAGMA journal_mode = DELETE"); }

    /// Copies the log into the database. Mode RESTART lets the next write begin at the start of the
    /// log, TRUNCATE empties the log.
    void checkpoint(const std::string& mode)
    {
        Sqlite::Statement row(sql(), "PRAGMA wal_checkpoint(" + mode + ")");
        if (!row.step() || row.integer(0) != 0)
            throw std::runtime_error("The checkpoint was prevented.");
    }
};

/// Gives `file` the modification time of `other`.
void copyTime(const fs::path& other, const fs::path& file)
{
    fs::last_write_time(file, fs::last_write_time(other));
}

void copyDatabase(const fs::path& from, const fs::path& to)
{
    fs::copy_file(from, to);
    copyTime(from, to);
}

Clock::time_point pointOf(const FileStamp::Time& time)
{
    return Clock::time_point(std::chrono::duration_cast<Clock::duration>(time.first + time.second));
}

/// Something that happens to a database between two reads.
using Event = std::function<void(LoggedDatabase&)>;

} // namespace

} // namespace korvane

using namespace korvane;

Q_DECLARE_METATYPE(Event)

/// When a read of a database may be skipped. The tests pass points in time, some seconds after the
/// files were really written.
class LastReadTest : public QObject {
    Q_OBJECT

private slots:
    void initTestCase() { Sqlite::configureProcess(); }
    void init() { pretendedType.reset(); }

    void unchangedDatabaseIsReadOnce()
    {
        const LoggedDatabase database;
        LastRead lastRead;
        QVERIFY(reads(lastRead, database, 10s));
        QVERIFY(!reads(lastRead, database, 40s));
        QVERIFY(!reads(lastRead, database, 70s));
    }

    void readThatFailedIsRepeated()
    {
        const LoggedDatabase database;
        LastRead lastRead;
        QVERIFY(!lastRead.isUpToDate(database.path(), after(10s)));
        QVERIFY(!lastRead.isUpToDate(database.path(), after(40s)));
        lastRead.setDone();
        QVERIFY(lastRead.isUpToDate(database.path(), after(70s)));
    }

    void readThatFailedLaterIsRepeated()
    {
        LoggedDatabase database;
        LastRead lastRead;
        QVERIFY(reads(lastRead, database, 10s));
        QVERIFY(!lastRead.isUpToDate(database.path(), after(40min)));
        QVERIFY(!lastRead.isUpToDate(database.path(), after(30s)));
    }

    void databaseIsReadAgainAfterThis_data()
    {
        QTest::addColumn<Event>("before");
        QTest::addColumn<Event>("event");
        const Event nothing = [](LoggedDatabase&) {};
        const Event write = [](LoggedDatabase& database) { database.addMessage(1, "more"); };
        const auto checkpoint = [](const std::string& mode) {
            return Event([mode](LoggedDatabase& database) { database.checkpoint(mode); });
        };
        const Event leaveWalMode = [](LoggedDatabase& database) { database.leaveWalMode(); };
        QTest::newRow("message in the log") << nothing << write;
        QTest::newRow("first message in the log") << checkpoint("TRUNCATE") << write;
        QTest::newRow("message in the database") << leaveWalMode << write;
        QTest::newRow("checkpoint") << nothing << checkpoint("PASSIVE");
        QTest::newRow("checkpoint that empties the log") << nothing << checkpoint("TRUNCATE");
        QTest::newRow("database was there late") << Event(moveAway) << Event(moveBack);
        QTest::newRow("database replaced by a copy") << nothing << Event([](LoggedDatabase& db) {
            copyDatabase(db.path(), db.path() + ".copy");
            fs::rename(db.path() + ".copy", db.path());
        });
        QTest::newRow("log replaced by a copy") << nothing << Event([](LoggedDatabase& db) {
            copyDatabase(db.log(), db.log() + ".copy");
            fs::rename(db.log() + ".copy", db.log());
        });
        QTest::newRow("permissions withdrawn") << nothing << Event([](LoggedDatabase& db) {
            fs::permissions(db.path(), fs::perms::owner_write);
        });
        QTest::newRow("as before, except for the time of the change")
            << leaveWalMode << Event([](LoggedDatabase& db) {
                   const auto time = fs::last_write_time(db.path());
                   db.addMessage(1, "more");
                   fs::last_write_time(db.path(), time);
               });
    }

    void databaseIsReadAgainAfterThis()
    {
        QFETCH(const Event, before);
        QFETCH(const Event, event);
        LoggedDatabase database;
        before(database);
        LastRead lastRead;
        QVERIFY(reads(lastRead, database, 10s));
        QTest::qSleep(clockTick);
        event(database);
        QVERIFY(reads(lastRead, database, 40s));
        QVERIFY2(!fs::exists(database.path()) || !reads(lastRead, database, 70s),
            "and then it is up to date");
    }

    void logOfEqualSizeIsReadAgain()
    {
        LoggedDatabase database;
        database.addMessage(1, "second");
        database.checkpoint("RESTART");
        const FileStamp stamp = database.stamp();
        const FileStamp log = database.logStamp();
        LastRead lastRead;
        QVERIFY(reads(lastRead, database, 10s));
        QTest::qSleep(clockTick);
        database.addMessage(1, "third"); // at the start of the log
        QCOMPARE(database.logStamp().size, log.size);
        QCOMPARE(database.logStamp().inode, log.inode);
        QVERIFY(database.stamp() == stamp);
        QVERIFY(reads(lastRead, database, 40s));
    }

    void eachDatabaseBehindALinkIsRead()
    {
        const LoggedDatabase one;
        const LoggedDatabase other;
        const fs::path link = one.folder() + "/link.db";
        fs::create_symlink(one.path(), link);
        LastRead lastRead;
        QVERIFY(reads(lastRead, link, 10s));
        QVERIFY(!reads(lastRead, link, 40s));
        fs::remove(link);
        fs::create_symlink(other.path(), link);
        QVERIFY(reads(lastRead, link, 70s));
        QVERIFY(!reads(lastRead, link, 100s));
    }

    /// Two folders change places, which changes no time of the files in them.
    void databaseThatDiffersInItsIdentityAloneIsRead()
    {
        const QTemporaryDir folder;
        const fs::path here = fs::path(folder.path().toStdString()) / "here";
        const fs::path there = here.parent_path() / "there";
        const fs::path aside = here.parent_path() / "aside";
        for (const fs::path& place : {here, there}) {
            fs::create_directory(place);
            std::ofstream(place / "chat.db") << "x";
        }
        if (!QTest::qWaitFor([&] { return getEqualTimes(here / "chat.db", there / "chat.db"); }))
            QSKIP("This file system never gives two files the same time.");
        LastRead lastRead;
        QVERIFY(reads(lastRead, here / "chat.db", 10s));
        QVERIFY(!reads(lastRead, here / "chat.db", 40s));
        fs::rename(here, aside);
        fs::rename(there, here);
        QVERIFY(reads(lastRead, here / "chat.db", 70s));
    }

    void logIsFoundBehindALink()
    {
        LoggedDatabase database;
        const fs::path link = database.folder() + "/link.db";
        fs::create_symlink(database.path(), link);
        LastRead lastRead;
        QVERIFY(reads(lastRead, link, 10s));
        QTest::qSleep(clockTick);
        database.addMessage(1, "more");
        QVERIFY(reads(lastRead, link, 40s));
    }

    void databaseIsNotReadAgainAfterThis_data()
    {
        QTest::addColumn<Event>("before");
        QTest::addColumn<Event>("event");
        const Event nothing = [](LoggedDatabase&) {};
        const Event removeLog = [](LoggedDatabase& db) { fs::remove(db.log()); };
        const Event emptyLog = [](LoggedDatabase& db) { db.checkpoint("TRUNCATE"); };
        QTest::newRow("empty log created")
            << Event([](LoggedDatabase& db) { db.leaveWalMode(); })
            << Event([](LoggedDatabase& db) { std::ofstream(db.log()).flush(); });
        QTest::newRow("empty log removed") << emptyLog << removeLog;
        QTest::newRow("index of the log written")
            << nothing
            << Event([](LoggedDatabase& db) { copyTime("/proc/self/stat", db.index()); });
        QTest::newRow("index of the log removed")
            << nothing << Event([](LoggedDatabase& db) { fs::remove(db.index()); });
        QTest::newRow("reading") << nothing << Event([](LoggedDatabase& db) {
            Sqlite reader = Sqlite::openReadOnly(db.path());
            reader.execute("SELECT * FROM message");
        });
    }

    void databaseIsNotReadAgainAfterThis()
    {
        QFETCH(const Event, before);
        QFETCH(const Event, event);
        LoggedDatabase database;
        before(database);
        LastRead lastRead;
        QVERIFY(reads(lastRead, database, 10s));
        QTest::qSleep(clockTick);
        event(database);
        QVERIFY(!reads(lastRead, database, 40s));
    }

    void readSoonAfterAWriteDoesNotCount_data()
    {
        QTest::addColumn<bool>("writesLog");
        QTest::addColumn<bool>("hidesIt");
        QTest::newRow("of the database") << false << false;
        QTest::newRow("of the log") << true << false;
        QTest::newRow("of the database, with an old time") << false << true;
        QTest::newRow("of the log, with an old time") << true << true;
    }

    /// The next write may get the same time, even if that is long ago when it is looked at.
    void readSoonAfterAWriteDoesNotCount()
    {
        QFETCH(const bool, writesLog);
        QFETCH(const bool, hidesIt);
        LoggedDatabase database;
        if (!writesLog)
            database.leaveWalMode();
        QTest::qSleep(clockTick);
        database.addMessage(1, "more");
        if (hidesIt)
            fs::last_write_time(writesLog ? database.log() : database.path(),
                fs::file_time_type::clock::now() - 1h);
        const FileStamp stamp = writesLog ? database.logStamp() : database.stamp();
        QVERIFY(!writesLog || database.stamp().changed < stamp.changed);
        const Clock::time_point written = pointOf(stamp.changed);
        LastRead lastRead;
        QVERIFY(reads(lastRead, database.path(), written + 2s - 1ns));
        QVERIFY(reads(lastRead, database.path(), written + 2s));
        QVERIFY(!reads(lastRead, database.path(), written + 2s + 1ns));
    }

    void timeInTheFutureIsNotTrusted()
    {
        const LoggedDatabase database;
        fs::last_write_time(database.path(), fs::file_time_type::clock::now() + 1h);
        LastRead lastRead;
        QVERIFY(reads(lastRead, database, 10s));
        QVERIFY(reads(lastRead, database, 40s));
        QVERIFY(reads(lastRead, database, 1h + 10s));
        QVERIFY(!reads(lastRead, database, 1h + 40s));
    }

    void trustEndsAfterHalfAnHour()
    {
        const LoggedDatabase database;
        LastRead lastRead;
        QVERIFY(reads(lastRead, database.path(), m_start));
        for (const auto later : {10min, 20min, 29min}) // which does not prolong it
            QVERIFY(!reads(lastRead, database.path(), m_start + later));
        QVERIFY(!reads(lastRead, database.path(), m_start + 30min - 1ns));
        QVERIFY(reads(lastRead, database.path(), m_start + 30min));
        QVERIFY(!reads(lastRead, database.path(), m_start + 59min));
    }

    void clockThatWasSetBackEndsTheTrust()
    {
        const LoggedDatabase database;
        LastRead lastRead;
        QVERIFY(reads(lastRead, database, 100s));
        QVERIFY(reads(lastRead, database, 70s));
        QVERIFY(!reads(lastRead, database, 100s));
    }

    void fileSystemDecides_data()
    {
        QTest::addColumn<std::uint32_t>("type");
        QTest::addColumn<bool>("isTrusted");
        QTest::newRow("ext4") << std::uint32_t{EXT4_SUPER_MAGIC} << true;
        QTest::newRow("Btrfs") << std::uint32_t{BTRFS_SUPER_MAGIC} << true;
        QTest::newRow("FAT") << std::uint32_t{MSDOS_SUPER_MAGIC} << true;
        QTest::newRow("overlay") << std::uint32_t{OVERLAYFS_SUPER_MAGIC} << true;
        QTest::newRow("NFS") << std::uint32_t{NFS_SUPER_MAGIC} << false;
        QTest::newRow("SMB 1") << std::uint32_t{CIFS_SUPER_MAGIC} << false;
        QTest::newRow("SMB 2") << std::uint32_t{SMB2_SUPER_MAGIC} << false;
        QTest::newRow("9P") << std::uint32_t{V9FS_MAGIC} << false;
        QTest::newRow("FUSE") << std::uint32_t{FUSE_SUPER_MAGIC} << false;
        QTest::newRow("not known") << std::uint32_t{0} << false;
    }

    void fileSystemDecides()
    {
        QFETCH(const std::uint32_t, type);
        QFETCH(const bool, isTrusted);
        const LoggedDatabase database;
        LastRead lastRead;
        pretendedType = type;
        QVERIFY(reads(lastRead, database, 10s));
        QCOMPARE(!reads(lastRead, database, 40s), isTrusted);
    }

    void databaseThatMovesToTheNetworkIsReadAgain()
    {
        const LoggedDatabase database;
        LastRead lastRead;
        QVERIFY(reads(lastRead, database, 10s));
        pretendedType = NFS_SUPER_MAGIC;
        QVERIFY(reads(lastRead, database, 40s));
        pretendedType.reset();
        QVERIFY(reads(lastRead, database, 70s));
        QVERIFY(!reads(lastRead, database, 100s));
    }

private:
    /// Milliseconds after which the kernel's clock for files has certainly advanced.
    static constexpr unsigned long clockTick = 20;

    Clock::time_point after(Clock::duration time) const { return m_start + time; }

    /// Reads the database if necessary, and returns whether it was.
    bool reads(LastRead& lastRead, const LoggedDatabase& database, Clock::duration time) const
    {
        return reads(lastRead, database.path(), after(time));
    }

    bool reads(LastRead& lastRead, const fs::path& database, Clock::duration time) const
    {
        return reads(lastRead, database, after(time));
    }

    static bool reads(LastRead& lastRead, const fs::path& database, Clock::time_point now)
    {
        if (lastRead.isUpToDate(database, now))
            return false;
        lastRead.setDone();
        return true;
    }

    /// Sets the times of two files of equal size. Returns whether they then differ only in their
    /// inode, because both times were set within one tick of the kernel's clock.
    static bool getEqualTimes(const fs::path& one, const fs::path& other)
    {
        const auto time = fs::last_write_time(one);
        fs::last_write_time(one, time);
        fs::last_write_time(other, time);
        FileStamp stamp = FileStamp::of(one).value();
        stamp.inode = FileStamp::of(other).value().inode;
        return stamp == FileStamp::of(other);
    }

    static void moveAway(LoggedDatabase& database)
    {
        fs::rename(database.path(), database.path() + ".aside");
    }

    static void moveBack(LoggedDatabase& database)
    {
        fs::rename(database.path() + ".aside", database.path());
    }

    const Clock::time_point m_start = Clock::now() + 1min; ///< after all real writes
};

QTEST_GUILESS_MAIN(LastReadTest)
#include "LastReadTest.moc"
