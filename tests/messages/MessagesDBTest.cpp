#include "messages/Rows.h"
#include "support/Unprivileged.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

namespace korvane {

/// Opening a Messages database, and the two texts that say why it could not be opened.
class MessagesDBTest : public QObject {
    Q_OBJECT

private slots:
    void init();
    void liesInTheLibraryOfTheUser();
    void missingFileCannotBeOpened();
    void missingFileIsNotCreated();
    void missingFolderCannotBeOpened();
    void fileWithoutPermissionCannotBeOpened();
    void whatIsNoMessagesDatabaseCountsAsLocked_data();
    void whatIsNoMessagesDatabaseCountsAsLocked();
    void folderIsRefused();
    void databaseWithoutMessageTableCountsAsLocked();
    void damagedDatabaseCountsAsLocked_data();
    void damagedDatabaseCountsAsLocked();
    void databaseCutShortCountsAsLocked();
    void databaseInUseByAnExclusiveWriterCountsAsLocked();
    void emptyMessageTableIsFine();
    void oddNameIsTakenAsItStands();
    void errorCarriesItsTextInAllPlaces();
    void objectsOnOneFileAreIndependent();

private:
    std::string file(const QString& name) const { return m_folder->filePath(name).toStdString(); }
    void write(const QString& name, const QByteArray& contents) const;

    std::unique_ptr<QTemporaryDir> m_folder;
};

namespace {

const std::string cannotOpen = "Can't open the Messages database.";
const std::string locked = "Messages database is locked by macOS privacy settings.";

std::string openingError(const std::string& path)
{
    return errorOf([&path] { MessagesDB db(path); });
}

} // namespace

void MessagesDBTest::init()
{
    m_folder = std::make_unique<QTemporaryDir>();
}

void MessagesDBTest::write(const QString& name, const QByteArray& contents) const
{
    QFile file(m_folder->filePath(name));
    QVERIFY(file.open(QIODevice::WriteOnly));
    QCOMPARE(file.write(contents), qint64(contents.size()));
}

void MessagesDBTest::liesInTheLibraryOfTheUser()
{
    const QByteArray home = qgetenv("HOME");
    qputenv("HOME", "/Users/ann lee");
    QCOMPARE(MessagesDB::path(), "/Users/ann lee/Library/Messages/chat.db");
    qputenv("HOME", "/Users/bo");
    QCOMPARE(MessagesDB::path(), "/Users/ann lee/Library/Messages/chat.db"); // formed once
    qputenv("HOME", home);
}

void MessagesDBTest::missingFileCannotBeOpened()
{
    QCOMPARE(openingError(file(QStringLiteral("chat.db"))), cannotOpen);
}

void MessagesDBTest::missingFileIsNotCreated()
{
    QCOMPARE(openingError(file(QStringLiteral("chat.db"))), cannotOpen);
    QVERIFY(QDir(m_folder->path()).isEmpty());
}

void MessagesDBTest::missingFolderCannotBeOpened()
{
    QCOMPARE(openingError(file(QStringLiteral("Library/Messages/chat.db"))), cannotOpen);
    QVERIFY(QDir(m_folder->path()).isEmpty());
}

void MessagesDBTest::fileWithoutPermissionCannotBeOpened()
{
    const Unprivileged user;
    if (!user.works())
        QSKIP("needs a user whom permissions stop");
    const OneChat database;
    QCOMPARE(openingError(database.path()), "(no error)");
    QVERIFY(QFile::setPermissions(QString::fromStdString(database.path()), {}));
    QCOMPARE(openingError(database.path()), cannotOpen);
}

void MessagesDBTest::whatIsNoMessagesDatabaseCountsAsLocked_data()
{
    QTest::addColumn<QByteArray>("contents");
    QTest::newRow("an empty file") << QByteArray();
    QTest::newRow("a text file") << QByteArray("Dear Ann,\n").repeated(1000);
    QTest::newRow("the head of a database and nothing else") << QByteArray("SQLite format 3\0", 16);
    QTest::newRow("NULs") << QByteArray(8192, '\0');
}

void MessagesDBTest::whatIsNoMessagesDatabaseCountsAsLocked()
{
    QFETCH(QByteArray, contents);
    write(QStringLiteral("chat.db"), contents);
    QCOMPARE(openingError(file(QStringLiteral("chat.db"))), locked);
}

void MessagesDBTest::folderIsRefused()
{
    QCOMPARE(openingError(m_folder->path().toStdString()), cannotOpen);
}

void MessagesDBTest::databaseWithoutMessageTableCountsAsLocked()
{
    OneChat database;
    database.sql().execute("DROP TABLE message");
    QCOMPARE(openingError(database.path()), locked);
}

void MessagesDBTest::damagedDatabaseCountsAsLocked_data()
{
    QTest::addColumn<int>("position");
    QTest::newRow("its head") << 0;
    QTest::newRow("its list of tables") << 100;
}

void MessagesDBTest::damagedDatabaseCountsAsLocked()
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

void MessagesDBTest::databaseCutShortCountsAsLocked()
{
    const OneChat database;
    QFile file(QString::fromStdString(database.path()));
    QVERIFY(file.resize(file.size() / 2));
    QCOMPARE(openingError(database.path()), locked);
}

void MessagesDBTest::databaseInUseByAnExclusiveWriterCountsAsLocked()
{
    OneChat database;
    database.sql().execute("BEGIN EXCLUSIVE");
    QCOMPARE(openingError(database.path()), locked);
    database.sql().execute("COMMIT");
    QCOMPARE(openingError(database.path()), "(no error)");
}

void MessagesDBTest::emptyMessageTableIsFine()
{
    const OneChat database;
    MessagesDB db(database.path());
    QVERIFY(db.chats().empty());
    QVERIFY(db.messages(1, 0).empty());
}

void MessagesDBTest::oddNameIsTakenAsItStands()
{
    const OneChat database;
    QCOMPARE(openingError("file:" + database.path()), cannotOpen); // no address, just a name
    const std::string odd = file(QStringLiteral("chat%20é.db?mode=ro#x"));
    QVERIFY(QFile::copy(QString::fromStdString(database.path()), QString::fromStdString(odd)));
    QCOMPARE(openingError(odd), "(no error)");
}

void MessagesDBTest::errorCarriesItsTextInAllPlaces()
{
    const DBError error("database is locked");
    QCOMPARE(error.message, "database is locked");
    QCOMPARE(error.errorDescription(), "database is locked");
    QCOMPARE(std::string(error.what()), "database is locked");
}

void MessagesDBTest::objectsOnOneFileAreIndependent()
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

} // namespace korvane

QTEST_APPLESS_MAIN(korvane::MessagesDBTest)
#include "MessagesDBTest.moc"
