#include "messages/Rows.h"

namespace korvane {

namespace {

/// A database with chat 1, handle 1 and messages 1 and 2. Its columns have no declared type, so
/// SQLite stores values unconverted.
std::unique_ptr<TestDatabase> untypedDatabase()
{
    auto database = std::make_unique<TestDatabase>();
    database->sql().execute(R"(
            DROP TABLE chat;
            DROP TABLE handle;
            DROP TABLE message;
            CREATE TABLE chat (ROWID INTEGER PRIMARY KEY, guid, display_name, chat_identifier,
                style);
            CREATE TABLE handle (ROWID INTEGER PRIMARY KEY, id);
            CREATE TABLE message (ROWID INTEGER PRIMARY KEY, guid, text, attributedBody, handle_id,
                date, is_from_me, cache_has_attachments, associated_message_type,
                associated_message_guid, thread_originator_guid, item_type);
            INSERT INTO chat VALUES (1, 'g', 'n', 'i', 45);
            INSERT INTO handle VALUES (1, 'h');
            INSERT INTO message VALUES (1, 'A', 'hello', NULL, 1, 5, 0, 0, 0, NULL, NULL, 0);
            INSERT INTO message VALUES (2, 'B', 'reply', NULL, 1, 6, 0, 0, 0, NULL, 'A', 0);
            INSERT INTO chat_handle_join VALUES (1, 1);
            INSERT INTO chat_message_join VALUES (1, 1), (1, 2);)");
    return database;
}

} // namespace

/// SQLite stores values of any type in any column. The reader takes them as SQLite converts them.
class StoredTypesTest : public QObject {
    Q_OBJECT

private slots:
    void textColumnsTakeAnyValue_data()
    {
        QTest::addColumn<QString>("value");
        QTest::addColumn<std::string>("text");
        QTest::newRow("an integer") << QStringLiteral("15550100") << std::string("15550100");
        QTest::newRow("a negative integer") << QStringLiteral("-7") << std::string("-7");
        QTest::newRow("a real number") << QStringLiteral("1.5") << std::string("1.5");
        QTest::newRow("a whole real number") << QStringLiteral("2.0") << std::string("2.0");
        QTest::newRow("a blob") << QStringLiteral("x'68C3A9'") << std::string("h\u00E9");
        QTest::newRow("a blob that is no text") << QStringLiteral("x'61FFE28262'")
                                                << std::string("a\uFFFD\uFFFD"
                                                               "b");
        QTest::newRow("a blob with a NUL") << QStringLiteral("x'610062'") << bytes("a\0b");
        QTest::newRow("a text with a NUL")
            << QStringLiteral("CAST(x'610062' AS TEXT)") << bytes("a\0b");
    }

    void textColumnsTakeAnyValue()
    {
        QFETCH(QString, value);
        QFETCH(std::string, text);
        const auto database = untypedDatabase();
        const std::string v = value.toStdString();
        database->sql().execute("UPDATE chat SET guid = " + v + ", display_name = " + v
            + ", chat_identifier = " + v + "; UPDATE handle SET id = " + v
            + "; UPDATE message SET guid = " + v + ", text = " + v
            + " WHERE ROWID = 1; UPDATE message SET thread_originator_guid = " + v
            + " WHERE ROWID = 2");

        MessagesDB db(database->path());
        const ChatInfo chat = db.chats().at(0);
        QCOMPARE(chat.guid, text);
        QCOMPARE(chat.displayName, text);
        QCOMPARE(chat.identifier, text);
        QCOMPARE(chat.members, std::vector<std::string>{text});
        const std::vector<MessageRow> rows = db.messages(1, 0);
        QCOMPARE(rows.at(0).text, text);
        QCOMPARE(rows.at(0).handle.value(), text);
        QCOMPARE(rows.at(0).senderID.value(), "messages:handle:" + text);
        QCOMPARE(rows.at(1).replyToRowID, RowID(1));
    }

    void numberColumnsTakeAnyValue_data()
    {
        QTest::addColumn<QString>("value");
        QTest::addColumn<int>("number");
        QTest::newRow("an integer") << QStringLiteral("2001") << 2001;
        QTest::newRow("a text that is a number") << QStringLiteral("'2001'") << 2001;
        QTest::newRow("a text that begins with a number")
            << QStringLiteral("'2001 and more'") << 2001;
        QTest::newRow("a text that is no number") << QStringLiteral("'abc'") << 0;
        QTest::newRow("an empty text") << QStringLiteral("''") << 0;
        QTest::newRow("a real number") << QStringLiteral("2001.9") << 2001;
        QTest::newRow("a blob of digits") << QStringLiteral("x'32303031'") << 2001;
        QTest::newRow("an empty blob") << QStringLiteral("x''") << 0;
        QTest::newRow("NULL") << QStringLiteral("NULL") << 0;
    }

    void numberColumnsTakeAnyValue()
    {
        QFETCH(QString, value);
        QFETCH(int, number);
        const auto database = untypedDatabase();
        const std::string v = value.toStdString();
        database->sql().execute("UPDATE message SET date = " + v + ", is_from_me = " + v
            + ", cache_has_attachments = " + v + ", associated_message_type = " + v
            + " WHERE ROWID = 1; UPDATE message SET item_type = " + v
            + ", date = 0 WHERE ROWID = 2;" + "UPDATE chat SET style = " + v);

        MessagesDB db(database->path());
        const std::vector<MessageRow> rows = db.messages(1, 0);
        const MessageRow& first = rows.at(0).rowID == 1 ? rows.at(0) : rows.at(1);
        const MessageRow& second = rows.at(0).rowID == 1 ? rows.at(1) : rows.at(0);
        QCOMPARE(first.date, ReferenceTime(number));
        QCOMPARE(first.fromMe, number != 0);
        QCOMPARE(first.attachmentCount, number != 0 ? 1 : 0);
        QCOMPARE(first.recordKind, Kind(number != 0 ? "reaction" : "message"));
        QCOMPARE(second.recordKind, Kind(number != 0 ? "system" : "message"));
        QVERIFY(!db.chats().at(0).isGroup);
    }

    void bodyMayBeStoredAsText()
    {
        const auto database = untypedDatabase();
        database->sql().execute("UPDATE message SET text = NULL, attributedBody ="
                                " 'NSString12345' || char(5) || 'hello' WHERE ROWID = 1");
        QCOMPARE(MessagesDB(database->path()).messages(1, 0).at(0).text, "hello");
    }

    void bodyMayBeANumber()
    {
        const auto database = untypedDatabase();
        database->sql().execute(
            "UPDATE message SET text = '', attributedBody = 42 WHERE ROWID = 1");
        QCOMPARE(MessagesDB(database->path()).messages(1, 0).at(0).text, "");
    }

    void databaseInUtf16IsReadAlike()
    {
        const auto source = untypedDatabase();
        const std::string path = source->folder() + "/utf16.db";
        Sqlite copy = Sqlite::openForWriting(path);
        copy.execute("PRAGMA encoding = 'UTF-16le'");
        copy.execute(R"(
            CREATE TABLE message (ROWID INTEGER PRIMARY KEY, guid TEXT, text TEXT, attributedBody BLOB,
                handle_id INTEGER, date INTEGER, is_from_me INTEGER, cache_has_attachments INTEGER,
                associated_message_type INTEGER, thread_originator_guid TEXT);
            CREATE TABLE handle (ROWID INTEGER PRIMARY KEY, id TEXT);
            CREATE TABLE chat_message_join (chat_id INTEGER, message_id INTEGER);
            INSERT INTO handle VALUES (1, 'B' || char(246));
            INSERT INTO message VALUES (1, 'A', 'gr' || char(252) || char(128077) || char(65532), NULL,
                1, 5, 0, 0, 0, NULL);
            INSERT INTO message VALUES (2, 'B', NULL, CAST(x'4E53537472696E670102030405036162' AS BLOB)
                || CAST(x'63' AS BLOB), 1, 6, 0, 0, 0, 'p:0/A');
            INSERT INTO chat_message_join VALUES (1, 1), (1, 2);)");

        const std::vector<MessageRow> rows = MessagesDB(path).messages(1, 0);
        QCOMPARE(rows.at(0).text, "gr\u00FC\U0001F44D");
        QCOMPARE(rows.at(0).handle.value(), "B\u00F6");
        QCOMPARE(rows.at(1).replyToRowID, RowID(1));
    }
};

} // namespace korvane

QTEST_APPLESS_MAIN(korvane::StoredTypesTest)
#include "StoredTypesTest.moc"
