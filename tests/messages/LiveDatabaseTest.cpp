#include "messages/Rows.h"
#include "support/Unprivileged.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>

#include <stdexcept>

namespace korvane {

namespace {

/// A chat in a database in WAL mode without automatic checkpoints.
class LoggedChat : public OneChat {
public:
    LoggedChat() { sql().execute("PRAGMA journal_mode = WAL; PRAGMA wal_autocheckpoint = 0"); }

    QString log() const { return QString::fromStdString(path() + "-wal"); }

    /// Checkpoints and truncates the WAL. Returns false if a reader prevents that.
    bool emptyLog()
    {
        Sqlite::Statement row(sql(), "PRAGMA wal_checkpoint(TRUNCATE)");
        return row.step() && row.integer(0) == 0 && QFileInfo(log()).size() == 0;
    }
};

QByteArray contents(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

QString pathOf(const TestDatabase& database)
{
    return QString::fromStdString(database.path());
}

void readAll(MessagesDB& db)
{
    db.chats();
    db.messages(1, 0);
}

void stopHalfWay(MessagesDB& db)
{
    const auto stop = [](const MessageRowView&) { throw std::runtime_error("enough"); };
    try {
        db.forEachMessage(1, 0, stop);
    } catch (const std::runtime_error&) {
    }
}

} // namespace

/// Reading while another connection writes: what the reader sees, and that neither side blocks the
/// other.
class LiveDatabaseTest : public QObject {
    Q_OBJECT

private slots:
    void seesMessagesThatAreInTheLogAlone()
    {
        LoggedChat database;
        QVERIFY(database.emptyLog());
        const QByteArray before = contents(pathOf(database));
        database.addMessage(1, {.text = "brand new", .date = 900});
        QCOMPARE(contents(pathOf(database)), before);
        QVERIFY(contents(database.log()).contains("brand new"));

        MessagesDB db(database.path());
        QCOMPARE(db.messages(1, 0).at(0).text, "brand new");
        QCOMPARE(db.chats().at(0).lastDate.value(), ReferenceTime(900));
        QCOMPARE(contents(pathOf(database)), before);
    }

    void doesNotSeeWhatIsNotCommitted()
    {
        LoggedChat database;
        database.addMessage(1, "sent");
        database.sql().execute("BEGIN IMMEDIATE");
        database.addMessage(1, "being written");
        MessagesDB db(database.path());
        QCOMPARE(rowIDs(db.messages(1, 0)), std::vector<std::int64_t>{1});
        QCOMPARE(db.chats().at(0).messageCount, 1);
    }

    void seesWhatIsCommittedBetweenTwoCalls()
    {
        LoggedChat database;
        database.addMessage(1, "one");
        MessagesDB db(database.path());
        QCOMPARE(db.messages(1, 0).size(), std::size_t(1));
        database.addMessage(1, {.threadGuid = "M1"});
        QCOMPARE(db.messages(1, 1).at(0).replyToRowID, RowID(1));
        QCOMPARE(db.chats().at(0).messageCount, 2);
    }

    void oneRunSeesOneState()
    {
        LoggedChat database;
        database.addMessage(1, {.guid = "A"});
        database.addMessage(1, "two");
        database.addMessage(1, {.threadGuid = "A"});

        std::vector<std::int64_t> seen;
        RowID reply;
        MessagesDB(database.path()).forEachMessage(1, 0, [&](const MessageRowView& row) {
            if (seen.empty()) {
                database.sql().execute("DELETE FROM message WHERE guid = 'A'");
                database.addMessage(1, "four");
            }
            seen.push_back(row.rowID);
            reply = row.replyToRowID;
        });
        QCOMPARE(seen, (std::vector<std::int64_t>{1, 2, 3}));
        QCOMPARE(reply, RowID(1));
    }

    void holdsNothingBetweenCalls_data()
    {
        using Use = void (*)(MessagesDB&);
        QTest::addColumn<Use>("use");
        QTest::newRow("after opening") << Use([](MessagesDB&) {});
        QTest::newRow("after the chat list") << Use([](MessagesDB& db) { db.chats(); });
        QTest::newRow("after the messages of a chat")
            << Use([](MessagesDB& db) { db.messages(1, 0); });
        QTest::newRow("after no new messages") << Use([](MessagesDB& db) { db.messages(1, 99); });
        QTest::newRow("after a visitor's error") << Use(stopHalfWay);
    }

    void holdsNothingBetweenCalls()
    {
        using Use = void (*)(MessagesDB&);
        QFETCH(Use, use);
        LoggedChat database;
        database.addMessage(1, {.guid = "A"});
        database.addMessage(1, {.threadGuid = "A"});
        MessagesDB db(database.path());
        use(db);
        QVERIFY(QFileInfo(database.log()).size() > 0);
        QVERIFY(database.emptyLog());
    }

    void leavesTheFileAlone_data()
    {
        QTest::addColumn<QString>("journalMode");
        for (const char* mode : {"DELETE", "TRUNCATE", "PERSIST", "WAL"})
            QTest::newRow(mode) << QString::fromLatin1(mode);
    }

    void leavesTheFileAlone()
    {
        QFETCH(QString, journalMode);
        OneChat database;
        database.sql().execute("PRAGMA journal_mode = " + journalMode.toStdString());
        database.addMessage(1, {.guid = "A"});
        database.addMessage(1, {.threadGuid = "A"});
        database.sql().execute("PRAGMA wal_checkpoint(TRUNCATE)");

        const QTemporaryDir folder;
        QFile copy(folder.filePath(QStringLiteral("chat.db")));
        QVERIFY(QFile::copy(pathOf(database), copy.fileName()));
        const QDateTime lastYear = QDateTime::currentDateTime().addYears(-1);
        QVERIFY(copy.open(QIODevice::ReadWrite));
        QVERIFY(copy.setFileTime(lastYear, QFileDevice::FileModificationTime));
        copy.close();
        const QDateTime written = QFileInfo(copy).lastModified();
        {
            MessagesDB db(copy.fileName().toStdString());
            readAll(db);
        }
        QCOMPARE(contents(copy.fileName()), contents(pathOf(database)));
        QFileInfo after(copy);
        after.refresh();
        QCOMPARE(after.lastModified(), written);
        // Reading a database in WAL mode creates the WAL and its index; both stay, the WAL empty.
        QStringList files{QStringLiteral("chat.db")};
        if (journalMode == QStringLiteral("WAL"))
            files << QStringLiteral("chat.db-shm") << QStringLiteral("chat.db-wal");
        QCOMPARE(QDir(folder.path()).entryList(QDir::Files), files);
        QCOMPARE(QFileInfo(folder.filePath(QStringLiteral("chat.db-wal"))).size(), qint64(0));
    }

    void needsNoLeaveToWrite()
    {
        const Unprivileged user;
        if (!user.works())
            QSKIP("needs a user whom permissions stop");
        OneChat database;
        database.addMessage(1, "hello");
        const QString folder = QString::fromStdString(database.folder());
        QVERIFY(QFile::setPermissions(pathOf(database), QFileDevice::ReadOwner));
        QVERIFY(QFile::setPermissions(folder, QFileDevice::ReadOwner | QFileDevice::ExeOwner));
        QCOMPARE(errorOf([&] {
            MessagesDB db(database.path());
            readAll(db);
        }),
            "(no error)");
        QVERIFY(QFile::setPermissions(
            folder, QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner));
    }
};

} // namespace korvane

QTEST_APPLESS_MAIN(korvane::LiveDatabaseTest)
#include "LiveDatabaseTest.moc"
