#include "messages/Rows.h"
#include "support/Unprivileged.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <poll.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <csignal>

namespace korvane {

namespace {

const std::string cannotOpen = "Can't open the Messages database.";
const std::string locked = "Messages database is locked by macOS privacy settings.";

std::string openingError(const std::string& path)
{
    return errorOf([&path] { MessagesDB db(path); });
}

/// openingError() in a child process, which is killed if it blocks.
std::string openingErrorInTime(const std::string& path)
{
    std::array<int, 2> answer{};
    if (::pipe(answer.data()) != 0)
        return "(no pipe)";
    const pid_t child = ::fork();
    if (child == 0) {
        const std::string error = openingError(path);
        ::_exit(::write(answer[1], error.data(), error.size()) < 0 ? 1 : 0);
    }
    ::close(answer[1]);
    std::array<char, 200> text{};
    pollfd readable{answer[0], POLLIN, 0};
    const bool inTime = ::poll(&readable, 1, 10000) == 1;
    const auto size = inTime ? ::read(answer[0], text.data(), text.size()) : 0;
    ::kill(child, SIGKILL);
    ::waitpid(child, nullptr, 0);
    ::close(answer[0]);
    return inTime ? std::string(text.data(), static_cast<std::size_t>(size)) : "(it blocks)";
}

/// Switches the database to WAL mode and copies its main file, without the "-wal" and "-shm" files.
std::string copyAlone(OneChat& database)
{
    database.sql().execute("PRAGMA journal_mode = WAL");
    database.addMessage(1, "hello");
    database.sql().execute("PRAGMA wal_checkpoint(TRUNCATE)");
    const std::string copy = database.folder() + "/copy.db";
    QFile::copy(QString::fromStdString(database.path()), QString::fromStdString(copy));
    return copy;
}

} // namespace

/// Opening a Messages database, and the error texts when that fails.
class MessagesDBTest : public QObject {
    Q_OBJECT

private slots:
    void init() { m_folder = std::make_unique<QTemporaryDir>(); }

    void liesInTheLibraryOfTheUser()
    {
        const QByteArray home = qgetenv("HOME");
        qputenv("HOME", "/Users/ann lee");
        QCOMPARE(MessagesDB::path(), "/Users/ann lee/Library/Messages/chat.db");
        qputenv("HOME", "/Users/bo");
        QCOMPARE(MessagesDB::path(), "/Users/ann lee/Library/Messages/chat.db"); // computed once
        qputenv("HOME", home);
    }

    void missingFileCannotBeOpened()
    {
        QCOMPARE(openingError(file(QStringLiteral("chat.db"))), cannotOpen);
    }

    void missingFileIsNotCreated()
    {
        QCOMPARE(openingError(file(QStringLiteral("chat.db"))), cannotOpen);
        QVERIFY(QDir(m_folder->path()).isEmpty());
    }

    void missingFolderCannotBeOpened()
    {
        QCOMPARE(openingError(file(QStringLiteral("Library/Messages/chat.db"))), cannotOpen);
        QVERIFY(QDir(m_folder->path()).isEmpty());
    }

    void fileWithoutPermissionCannotBeOpened()
    {
        const Unprivileged user;
        if (!user.works())
            QSKIP("needs a user whom permissions stop");
        const OneChat database;
        QCOMPARE(openingError(database.path()), "(no error)");
        QVERIFY(QFile::setPermissions(QString::fromStdString(database.path()), {}));
        QCOMPARE(openingError(database.path()), cannotOpen);
    }

    void whatIsNoMessagesDatabaseCountsAsLocked_data()
    {
        QTest::addColumn<QByteArray>("contents");
        QTest::newRow("an empty file") << QByteArray();
        QTest::newRow("a text file") << QByteArray("Dear Ann,\n").repeated(1000);
        QTest::newRow("the head of a database and nothing else")
            << QByteArray("SQLite format 3\0", 16);
        QTest::newRow("NULs") << QByteArray(8192, '\0');
    }

    void whatIsNoMessagesDatabaseCountsAsLocked()
    {
        QFETCH(QByteArray, contents);
        write(QStringLiteral("chat.db"), contents);
        QCOMPARE(openingError(file(QStringLiteral("chat.db"))), locked);
    }

    void emptyFileLeavesTheLogBesideItAlone()
    {
        write(QStringLiteral("chat.db"), {});
        write(QStringLiteral("chat.db-wal"), "the newest messages");
        QCOMPARE(openingError(file(QStringLiteral("chat.db"))), locked);
        QCOMPARE(QDir(m_folder->path()).entryList(QDir::Files),
            (QStringList{QStringLiteral("chat.db"), QStringLiteral("chat.db-wal")}));
    }

    void folderIsRefused() { QCOMPARE(openingError(m_folder->path().toStdString()), cannotOpen); }

    void whatIsNoFileIsRefused_data()
    {
        QTest::addColumn<QString>("path");
        QTest::newRow("a named pipe") << QStringLiteral("pipe");
        QTest::newRow("a link to a named pipe") << QStringLiteral("link");
        QTest::newRow("a device without contents") << QStringLiteral("/dev/null");
        QTest::newRow("a device without an end") << QStringLiteral("/dev/zero");
    }

    void whatIsNoFileIsRefused()
    {
        QFETCH(QString, path);
        QCOMPARE(::mkfifo(file(QStringLiteral("pipe")).c_str(), 0600), 0);
        QVERIFY(QFile::link(m_folder->filePath(QStringLiteral("pipe")),
            m_folder->filePath(QStringLiteral("link"))));
        const QString absolute = QDir(m_folder->path()).absoluteFilePath(path);
        QCOMPARE(openingErrorInTime(absolute.toStdString()), cannotOpen);
    }

    void pipeBesideTheDatabaseDoesNotBlock_data()
    {
        QTest::addColumn<QString>("suffix");
        for (const char* suffix : {"-wal", "-shm", "-journal"})
            QTest::newRow(suffix) << QString::fromUtf8(suffix);
    }

    /// SQLite opens these files read-write if permitted, and opening a pipe that way does not block
    /// on Linux. An unprivileged user makes it open them read-only.
    void pipeBesideTheDatabaseDoesNotBlock()
    {
        QFETCH(QString, suffix);
        const Unprivileged user;
        if (!user.works())
            QSKIP("needs a user whom permissions stop");
        OneChat database;
        const std::string copy = copyAlone(database);
        QCOMPARE(openingError(copy), "(no error)");
        QFile::remove(QString::fromStdString(copy + suffix.toStdString()));
        QCOMPARE(::mkfifo((copy + suffix.toStdString()).c_str(), 0444), 0);
        QCOMPARE(openingErrorInTime(copy), locked);
    }

    void pipeBesideTheTargetOfALinkDoesNotBlock()
    {
        OneChat database;
        const std::string copy = copyAlone(database);
        QCOMPARE(::mkfifo((copy + "-journal").c_str(), 0600), 0);
        const QString link = m_folder->filePath(QStringLiteral("link.db"));
        QVERIFY(QFile::link(QString::fromStdString(copy), link));
        QCOMPARE(openingErrorInTime(link.toStdString()), locked);
    }

    void databaseWithoutMessageTableCountsAsLocked()
    {
        OneChat database;
        database.sql().execute("DROP TABLE message");
        QCOMPARE(openingError(database.path()), locked);
    }

    void damagedDatabaseCountsAsLocked_data()
    {
        QTest::addColumn<int>("position");
        QTest::newRow("its head") << 0;
        QTest::newRow("its list of tables") << 100;
    }

    void damagedDatabaseCountsAsLocked()
    {
        QFETCH(int, position);
        const OneChat database;
        QFile file(QString::fromStdString(database.path()));
        QVERIFY(file.open(QIODevice::ReadWrite));
        QVERIFY(file.seek(position));
        QCOMPARE(file.write(QByteArray(100, '\xFF')), qint64(100));
        file.close();
        QCOMPARE(openingError(database.path()), locked);
    }

    void databaseCutShortCountsAsLocked()
    {
        const OneChat database;
        QFile file(QString::fromStdString(database.path()));
        QVERIFY(file.resize(file.size() / 2));
        QCOMPARE(openingError(database.path()), locked);
    }

    void databaseInUseByAnExclusiveWriterCountsAsLocked()
    {
        OneChat database;
        database.sql().execute("BEGIN EXCLUSIVE");
        QCOMPARE(openingError(database.path()), locked);
        database.sql().execute("COMMIT");
        QCOMPARE(openingError(database.path()), "(no error)");
    }

    void emptyMessageTableIsFine()
    {
        const OneChat database;
        MessagesDB db(database.path());
        QVERIFY(db.chats().empty());
        QVERIFY(db.messages(1, 0).empty());
    }

    void oddNameIsTakenAsItStands()
    {
        const OneChat database;
        QCOMPARE(openingError("file:" + database.path()), cannotOpen); // a file name, not a URI
        const std::string odd = file(QStringLiteral("chat%20é.db?mode=ro#x"));
        QVERIFY(QFile::copy(QString::fromStdString(database.path()), QString::fromStdString(odd)));
        QCOMPARE(openingError(odd), "(no error)");
    }

    void errorCarriesItsTextInAllPlaces()
    {
        const DBError error("database is locked");
        QCOMPARE(error.message, "database is locked");
        QCOMPARE(error.errorDescription(), "database is locked");
        QCOMPARE(std::string(error.what()), "database is locked");
    }

    void objectsOnOneFileAreIndependent()
    {
        OneChat database;
        MessagesDB first(database.path());
        {
            MessagesDB second(database.path());
            database.addMessage(1, "hello");
            QCOMPARE(second.messages(1, 0).size(), std::size_t(1));
        }
        QCOMPARE(first.messages(1, 0).size(), std::size_t(1));
    }

private:
    std::string file(const QString& name) const { return m_folder->filePath(name).toStdString(); }
    void write(const QString& name, const QByteArray& contents) const
    {
        QFile file(m_folder->filePath(name));
        QVERIFY(file.open(QIODevice::WriteOnly));
        QCOMPARE(file.write(contents), qint64(contents.size()));
    }

    std::unique_ptr<QTemporaryDir> m_folder;
};

} // namespace korvane

QTEST_APPLESS_MAIN(korvane::MessagesDBTest)
#include "MessagesDBTest.moc"
