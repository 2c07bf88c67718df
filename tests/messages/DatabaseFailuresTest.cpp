#include "messages/Rows.h"

#include <QFile>

#include <stdexcept>

namespace korvane {

namespace {

constexpr qint64 pageSize = 4096;

const std::string damaged = "database disk image is malformed";
const std::string locked = "database is locked";

std::string errorOfMessages(MessagesDB& db, std::int64_t chat = 1, std::int64_t afterRowID = 0)
{
    return errorOf([&db, chat, afterRowID] { db.messages(chat, afterRowID); });
}

std::string errorOfChats(MessagesDB& db)
{
    return errorOf([&db] { db.chats(); });
}

/// A text that occurs once in the file. Several messages with such texts fill several pages.
std::string longText(int number)
{
    return "message number " + std::to_string(number) + ": " + std::string(400, 'x');
}

void addLongMessages(TestDatabase& database, std::int64_t chat, int from, int to)
{
    database.sql().execute("BEGIN");
    for (int number = from; number <= to; ++number)
        database.addMessage(chat, longText(number));
    database.sql().execute("COMMIT");
}

/// Overwrites the page that contains `text`.
void damagePageWith(const TestDatabase& database, const std::string& text)
{
    QFile file(QString::fromStdString(database.path()));
    QVERIFY(file.open(QIODevice::ReadWrite));
    const qint64 position = file.readAll().indexOf(QByteArray::fromStdString(text));
    QVERIFY(position > pageSize); // every statement reads the first page
    QVERIFY(file.seek(position / pageSize * pageSize));
    QCOMPARE(file.write(QByteArray(pageSize, '\xFF')), pageSize);
}

} // namespace

/// A database that fails after it was opened: the error has SQLite's text, and rows read before the
/// failure are not returned.
class DatabaseFailuresTest : public QObject {
    Q_OBJECT

private slots:
    void lockedDatabaseIsAnError()
    {
        OneChat database;
        database.addMessage(1, "hello");
        MessagesDB db(database.path());
        database.sql().execute("BEGIN EXCLUSIVE");
        QCOMPARE(errorOfChats(db), locked);
        QCOMPARE(errorOfMessages(db), locked);
    }

    void lockOfAWriterThatOnlyPreparesDoesNoHarm()
    {
        OneChat database;
        database.addMessage(1, "hello");
        MessagesDB db(database.path());
        database.sql().execute("BEGIN IMMEDIATE");
        database.addMessage(1, "not yet there");
        QCOMPARE(db.chats().at(0).messageCount, 1);
        QCOMPARE(rowIDs(db.messages(1, 0)), std::vector<std::int64_t>{1});
    }

    void damageInTheMiddleIsAnError()
    {
        OneChat database;
        addLongMessages(database, 1, 1, 300);
        damagePageWith(database, longText(150));

        MessagesDB db(database.path());
        QCOMPARE(errorOfMessages(db), damaged);
        QCOMPARE(errorOfChats(db), damaged);
    }

    void damageInARowOfAnEarlierRunIsAnErrorForAReferenceWithoutAnIndex()
    {
        OneChat database;
        addLongMessages(database, 1, 1, 300);
        database.addMessage(1, "new");
        database.addMessage(1, {.threadGuid = "M300"});
        removeGuidIndex(database);
        damagePageWith(database, longText(150));

        MessagesDB db(database.path());
        QCOMPARE(errorOfMessages(db, 1, 300), damaged);
    }

    void damageInARowOfAnEarlierRunIsNotReadForAReferenceWithAnIndex()
    {
        OneChat database;
        addLongMessages(database, 1, 1, 300);
        database.addMessage(1, {.threadGuid = "M300"});
        damagePageWith(database, longText(150));
        QCOMPARE(MessagesDB(database.path()).messages(1, 300).front().replyToRowID, RowID(300));
    }

    void damageInOneChatSparesTheOthers()
    {
        OneChat database;
        database.addChat(2, "chat;2");
        addLongMessages(database, 1, 1, 100);
        addLongMessages(database, 2, 101, 300);
        damagePageWith(database, longText(200));

        MessagesDB db(database.path());
        QCOMPARE(errorOfMessages(db, 2), damaged);
        QCOMPARE(db.messages(1, 0).size(), std::size_t(100));
    }

    void damageAmongTheMembersIsAnErrorForTheChatList()
    {
        OneChat database;
        database.addMessage(1, "hello");
        database.sql().execute("BEGIN");
        for (int number = 2; number <= 100; ++number) {
            database.addHandle(number, longText(number));
            database.addMember(1, number);
        }
        database.sql().execute("COMMIT");
        damagePageWith(database, longText(50));

        MessagesDB db(database.path());
        QCOMPARE(errorOfChats(db), damaged);
        QCOMPARE(db.messages(1, 0).size(), std::size_t(1));
    }

    void visitorsErrorPassesThrough()
    {
        OneChat database;
        database.addMessage(1, "one");
        database.addMessage(1, "two");
        MessagesDB db(database.path());
        int visits = 0;
        const auto visit = [&visits](const MessageRowView&) {
            ++visits;
            throw std::runtime_error("enough");
        };
        QVERIFY_THROWS_EXCEPTION(std::runtime_error, db.forEachMessage(1, 0, visit));
        QCOMPARE(visits, 1);
        QCOMPARE(db.messages(1, 0).size(), std::size_t(2));
    }

    void readerWorksOnAfterAFailure()
    {
        OneChat database;
        database.addMessage(1, "hello");
        MessagesDB db(database.path());
        database.sql().execute("BEGIN EXCLUSIVE");
        QCOMPARE(errorOfChats(db), locked);
        QCOMPARE(errorOfMessages(db), locked);
        database.sql().execute("COMMIT");
        QCOMPARE(db.chats().size(), std::size_t(1));
        QCOMPARE(db.messages(1, 0).size(), std::size_t(1));
    }
};

} // namespace korvane

QTEST_APPLESS_MAIN(korvane::DatabaseFailuresTest)
#include "DatabaseFailuresTest.moc"
