#include "messages/Rows.h"

#include <limits>

namespace korvane {

namespace {

using RowIDs = std::vector<std::int64_t>;

} // namespace

/// One row per message: which ones, in which order, with which sender and date.
class MessageRowsTest : public QObject {
    Q_OBJECT

private slots:
    void readsAllFieldsOfAPlainMessage()
    {
        OneChat database;
        const MessageRow expected{
            .rowID = 12,
            .date = ReferenceTime(700'000'001),
            .fromMe = false,
            .handle = "+15550100",
            .text = "hello",
            .attachmentCount = 0,
            .senderID = "messages:handle:+15550100",
            .photoCount = 0,
            .recordKind = "message",
            .reactionKind = {},
            .reactionTargetRowID = {},
            .replyToRowID = {},
        };
        QVERIFY(database.rowOf({.rowID = 12, .date = 700'000'001}) == expected);
    }

    void readsOnlyWhatIsNewerInThisChat()
    {
        OneChat database;
        database.addChat(2, "chat;2");
        for (const std::int64_t chat : {1, 2, 1, 0, 1})
            database.addMessage(chat, "hello");

        QCOMPARE(rowIDs(database.rows()), (RowIDs{1, 3, 5}));
        QCOMPARE(rowIDs(database.rows(1)), (RowIDs{3, 5}));
        QCOMPARE(rowIDs(database.rows(2)), (RowIDs{3, 5}));
        QCOMPARE(rowIDs(database.rows(4)), RowIDs{5});
        QCOMPARE(rowIDs(database.rows(5)), RowIDs{});
        QCOMPARE(rowIDs(database.rows(std::numeric_limits<std::int64_t>::max())), RowIDs{});
        QCOMPARE(rowIDs(database.rows(-1)), (RowIDs{1, 3, 5}));
    }

    void unknownChatHasNoMessages()
    {
        OneChat database;
        database.addMessage(1, "hello");
        QVERIFY(MessagesDB(database.path()).messages(2, 0).empty());
    }

    void ordersByDateAndThenByRowID()
    {
        OneChat database;
        database.addMessage(1, {.rowID = 1, .date = 300});
        database.addMessage(1, {.rowID = 9, .date = 200});
        database.addMessage(1, {.rowID = 4, .date = 200});
        database.addMessage(1, {.rowID = 6, .date = -7});
        database.addMessage(1, {.rowID = 7, .date = 200});
        database.addMessage(1, {.rowID = 8});
        database.sql().execute("UPDATE message SET date = NULL WHERE ROWID = 8");

        QCOMPARE(rowIDs(database.rows()), (RowIDs{8, 6, 4, 7, 9, 1}));
        QCOMPARE(rowIDs(database.rows(6)), (RowIDs{8, 7, 9}));
    }

    void sharedMessageIsInBothChats()
    {
        OneChat database;
        database.addChat(2, "chat;2");
        database.addMessage(1, "in one");
        database.addMessage(1, "in both");
        database.sql().execute("INSERT INTO chat_message_join VALUES (2, 2)");

        MessagesDB db(database.path());
        QCOMPARE(rowIDs(db.messages(1, 0)), (RowIDs{1, 2}));
        QCOMPARE(rowIDs(db.messages(2, 0)), RowIDs{2});
        QVERIFY(db.messages(1, 1) == db.messages(2, 0));
    }

    void messageGoneFromItsTableIsLeftOut()
    {
        OneChat database;
        database.addMessage(1, "hello");
        database.sql().execute("INSERT INTO chat_message_join VALUES (1, 99)");
        QCOMPARE(rowIDs(database.rows()), RowIDs{1});
    }

    void tellsTheSender_data()
    {
        using Text = std::optional<std::string>;
        QTest::addColumn<int>("fromMe");
        QTest::addColumn<int>("handle");
        QTest::addColumn<Text>("expectedHandle");
        QTest::addColumn<Text>("senderID");

        const auto row = [](const char* name, int fromMe, int handle, const Text& expectedHandle,
                             const Text& senderID) {
            QTest::newRow(name) << fromMe << handle << expectedHandle << senderID;
        };
        const Text none;
        row("someone", 0, 1, "+15550100", "messages:handle:+15550100");
        row("someone with an address as typed", 0, 2, " Ann@Example.ORG",
            "messages:handle: Ann@Example.ORG");
        row("someone with an empty address", 0, 3, "", "messages:handle:");
        row("me, with the other side's handle", 1, 1, "+15550100", "messages:self");
        row("me, without a handle", 1, 0, none, "messages:self");
        row("nobody", 0, 0, none, none);
        row("someone whose handle is gone", 0, 99, none, none);
        row("someone whose handle has no address", 0, 4, none, none);
        row("me, by any number but 0", -2, 0, none, "messages:self");
    }

    void tellsTheSender()
    {
        QFETCH(int, fromMe);
        QFETCH(int, handle);
        QFETCH(std::optional<std::string>, expectedHandle);
        QFETCH(std::optional<std::string>, senderID);
        OneChat database;
        database.sql().execute(
            "INSERT INTO handle VALUES (2, ' Ann@Example.ORG'), (3, ''), (4, NULL)");
        database.addMessage(1, {.handle = handle});
        database.sql().execute("UPDATE message SET is_from_me = " + std::to_string(fromMe));

        const MessageRow row = database.row(1);
        QCOMPARE(row.fromMe, fromMe != 0);
        QCOMPARE(row.handle, expectedHandle);
        QCOMPARE(row.senderID, senderID);
    }

    void repairsAnIllFormedHandle()
    {
        OneChat database;
        database.addHandle(2, "a\xFF@x.org");
        const MessageRow row = database.rowOf({.handle = 2});
        QCOMPARE(row.handle.value(), "a\uFFFD@x.org");
        QCOMPARE(row.senderID.value(), "messages:handle:a\uFFFD@x.org");
    }

    void attachmentCountIsAFlag_data()
    {
        QTest::addColumn<QString>("stored");
        QTest::addColumn<int>("count");
        QTest::newRow("0") << QStringLiteral("0") << 0;
        QTest::newRow("1") << QStringLiteral("1") << 1;
        QTest::newRow("3") << QStringLiteral("3") << 1;
        QTest::newRow("-1") << QStringLiteral("-1") << 1;
        QTest::newRow("NULL") << QStringLiteral("NULL") << 0;
        QTest::newRow("nothing in its lower 32 bits") << QStringLiteral("4294967296") << 0;
    }

    void attachmentCountIsAFlag()
    {
        QFETCH(QString, stored);
        QFETCH(int, count);
        OneChat database;
        database.addMessage(1, "hello");
        database.sql().execute(
            "UPDATE message SET cache_has_attachments = " + stored.toStdString());
        QCOMPARE(database.row(1).attachmentCount, count);
    }

    void readsTheDate_data()
    {
        QTest::addColumn<QString>("stored");
        QTest::addColumn<double>("seconds");
        QTest::newRow("seconds") << QStringLiteral("700000000") << 700'000'000.0;
        QTest::newRow("nanoseconds") << QStringLiteral("700000000000000000") << 700'000'000.0;
        QTest::newRow("the most seconds") << QStringLiteral("100000000000") << 100'000'000'000.0;
        QTest::newRow("the fewest nanoseconds") << QStringLiteral("100000000001") << 100.000000001;
        QTest::newRow("before 2001") << QStringLiteral("-200000000000") << -200.0;
        QTest::newRow("NULL") << QStringLiteral("NULL") << 0.0;
        QTest::newRow("the largest")
            << QStringLiteral("9223372036854775807") << 9223372036.854775807;
    }

    void readsTheDate()
    {
        QFETCH(QString, stored);
        QFETCH(double, seconds);
        OneChat database;
        database.addMessage(1, "hello");
        database.sql().execute("UPDATE message SET date = " + stored.toStdString());
        QCOMPARE(database.row(1).date, ReferenceTime(seconds));
    }

    void dateWithoutAbsoluteValueEndsTheProgram()
    {
        OneChat database;
        database.addMessage(1, {.date = std::numeric_limits<std::int64_t>::min()});
        QVERIFY_THROWS_EXCEPTION(std::overflow_error, database.rows());
    }

    void viewsEqualTheKeptRows()
    {
        OneChat database;
        database.addHandle(2, "a\xFF@x.org");
        const std::string body = "NSString\x01\x94\x84\x01+\x05three\x86\x84";
        database.addMessage(1, "one");
        database.addMessage(1, {.text = "\xFF\uFFFC", .handle = 2});
        database.addMessage(1, {.text = {}, .body = body, .handle = 0, .fromMe = true});
        database.addMessage(1, {.text = "\uFFFCfour", .handle = 0});

        std::vector<std::string> seen;
        MessagesDB(database.path()).forEachMessage(1, 0, [&seen](const MessageRowView& row) {
            seen.push_back(std::string(row.text) + "|" + std::string(row.handle.value_or("-")) + "|"
                + std::string(row.senderID.value_or("-")));
        });
        std::vector<std::string> kept;
        for (const MessageRow& row : database.rows())
            kept.push_back(
                row.text + "|" + row.handle.value_or("-") + "|" + row.senderID.value_or("-"));
        QCOMPARE(seen, kept);
        QCOMPARE(seen.size(), std::size_t(4));
    }
};

} // namespace korvane

QTEST_APPLESS_MAIN(korvane::MessageRowsTest)
#include "MessageRowsTest.moc"
