#include "messages/MessageLookup.h"
#include "messages/Rows.h"

using namespace std::string_literals;

namespace korvane {

namespace {

constexpr std::int64_t nano = 1'000'000'000;

/// The members of a message that a lookup by row id reads, in one line, or "(none)".
std::string lookedUp(const TestDatabase& db, std::int64_t rowID)
{
    MessagesDB messages(db.path());
    std::string text = "(none)";
    messages.lookup().read(rowID, [&](const MessageRowView& row) {
        text = std::to_string(row.rowID) + " " + std::string(row.senderID.value_or("nobody")) + ": "
            + std::string(row.text);
    });
    return text;
}

RowID newestIn(const TestDatabase& db, std::int64_t chat = 1)
{
    return MessagesDB(db.path()).lookup().newest(chat);
}

void addJoinDates(TestDatabase& db)
{
    db.sql().execute("ALTER TABLE chat_message_join ADD COLUMN message_date INTEGER");
    db.sql().execute("UPDATE chat_message_join SET message_date ="
                     " (SELECT date FROM message WHERE ROWID = message_id)");
}

using Prepare = void (*)(TestDatabase&);

} // namespace

/// Looking up single messages by row id.
class MessageLookupTest : public QObject {
    Q_OBJECT

private slots:
    void datesAreFoundByRowID()
    {
        OneChat db;
        db.addMessage(1, {.rowID = 5, .date = 700'000'000});
        db.addMessage(1, {.rowID = 6, .date = 700'000'000 * nano + nano / 2});
        db.addMessage(0, {.rowID = 7, .date = 1});
        MessagesDB messages(db.path());
        MessageLookup lookup = messages.lookup();
        QCOMPARE(lookup.date(6).value(), ReferenceTime(700'000'000.5));
        QCOMPARE(lookup.date(5).value(), ReferenceTime(700'000'000));
        QCOMPARE(lookup.date(7).value(), ReferenceTime(1));
        QVERIFY(!lookup.date(8));
        QCOMPARE(lookup.date(5).value(), ReferenceTime(700'000'000));
    }

    void messagesAreReadAsInAnExport()
    {
        OneChat db;
        db.addMessage(1, {.rowID = 5, .text = "\xEF\xBF\xBChello"});
        db.addMessage(1,
            {.rowID = 6,
                .text = std::nullopt,
                .body = bytes("NSString\x01\x94\x84\x01+\x02ok"),
                .fromMe = true});
        db.addMessage(1, {.rowID = 7, .text = "a\xFF", .handle = 99});
        QCOMPARE(lookedUp(db, 5), "5 messages:handle:+15550100: hello"s);
        QCOMPARE(lookedUp(db, 6), "6 messages:self: ok"s);
        QCOMPARE(lookedUp(db, 7), "7 nobody: a\xEF\xBF\xBD"s);
        QCOMPARE(lookedUp(db, 8), "(none)"s);
    }

    void theNewestMessageIsTheOneWithTheLatestDate_data()
    {
        QTest::addColumn<Prepare>("prepare");
        QTest::newRow("without dates in the join table") << Prepare([](TestDatabase&) {});
        QTest::newRow("with dates in the join table") << Prepare(addJoinDates);
    }

    void theNewestMessageIsTheOneWithTheLatestDate()
    {
        QFETCH(Prepare, prepare);
        OneChat db;
        db.addChat(2, "chat;2");
        db.addMessage(1, {.rowID = 3, .date = 300});
        db.addMessage(1, {.rowID = 4, .date = 400});
        db.addMessage(1, {.rowID = 5, .date = 400});
        db.addMessage(1, {.rowID = 6, .date = 200});
        db.addMessage(2, {.rowID = 7, .date = 900});
        prepare(db);
        QCOMPARE(newestIn(db), RowID(5));
        db.sql().execute("DELETE FROM message WHERE ROWID = 5"); // its join row stays
        QCOMPARE(newestIn(db), RowID(4));
        QCOMPARE(newestIn(db, 2), RowID(7));
        QCOMPARE(newestIn(db, 3), noRow);
    }

    void theDateInTheJoinTableIsEnough()
    {
        OneChat db;
        db.addMessage(1, {.rowID = 3, .date = 300});
        db.addMessage(1, {.rowID = 4, .date = 400});
        addJoinDates(db);
        db.sql().execute("UPDATE chat_message_join SET message_date = 500 WHERE message_id = 3");
        QCOMPARE(newestIn(db), RowID(3)); // reading the messages' dates would take longer
    }

    void aLookupSeesOneStateOfTheDatabase()
    {
        OneChat db;
        db.sql().execute("PRAGMA journal_mode = WAL");
        db.addMessage(1, {.rowID = 5});
        MessagesDB messages(db.path());
        {
            MessageLookup lookup = messages.lookup();
            QVERIFY(lookup.date(5));
            db.addMessage(1, {.rowID = 6});
            QVERIFY(!lookup.date(6));
        }
        QVERIFY(messages.lookup().date(6));
    }

    void aFinishedLookupLetsOthersWrite()
    {
        OneChat db;
        db.addMessage(1, {.rowID = 5});
        MessagesDB messages(db.path());
        QVERIFY(messages.lookup().date(5));
        db.addMessage(1, {.rowID = 6}); // throws if the database is still locked
        QVERIFY(messages.lookup().date(6));
    }
};

} // namespace korvane

QTEST_APPLESS_MAIN(korvane::MessageLookupTest)
#include "MessageLookupTest.moc"
