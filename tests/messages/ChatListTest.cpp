#include "messages/Rows.h"

#include <limits>

namespace korvane {

namespace {

std::vector<ChatInfo> chatsOf(const TestDatabase& database)
{
    return MessagesDB(database.path()).chats();
}

std::vector<std::string> guidsOf(const TestDatabase& database)
{
    std::vector<std::string> guids;
    for (const ChatInfo& chat : chatsOf(database))
        guids.push_back(chat.guid);
    return guids;
}

using Texts = std::vector<std::string>;

} // namespace

/// The chat list: which chats are listed, in which order, and with which fields.
class ChatListTest : public QObject {
    Q_OBJECT

private slots:
    void readsAllFields()
    {
        TestDatabase database;
        database.addHandle(1, "+15550100");
        database.addHandle(2, "bo@example.org");
        database.addChat(7, "iMessage;+;chat7", "Family", "chat7000", 43);
        database.addMember(7, 1);
        database.addMember(7, 2);
        database.addMessage(7, {.date = 700'000'000});
        database.addMessage(7, {.date = 700'000'060});

        const std::vector<ChatInfo> chats = chatsOf(database);
        QCOMPARE(chats.size(), std::size_t(1));
        const ChatInfo& chat = chats.front();
        QCOMPARE(chat.id, 7);
        QCOMPARE(chat.guid, "iMessage;+;chat7");
        QCOMPARE(chat.displayName, "Family");
        QCOMPARE(chat.identifier, "chat7000");
        QVERIFY(chat.isGroup);
        QCOMPARE(chat.lastDate.value(), ReferenceTime(700'000'060));
        QCOMPARE(chat.messageCount, 2);
        QCOMPARE(chat.members, (Texts{"+15550100", "bo@example.org"}));
    }

    void chatWithoutMessagesIsNotListed()
    {
        TestDatabase database;
        database.addChat(1, "empty");
        database.addChat(2, "used");
        database.addMember(1, 1);
        database.addMessage(2, "hello");
        database.addMessage(0, "in no chat");
        QCOMPARE(guidsOf(database), Texts{"used"});
    }

    void chatWhoseMessagesAreGoneIsNotListed()
    {
        OneChat database;
        database.sql().execute("INSERT INTO chat_message_join VALUES (1, 99)");
        QVERIFY(chatsOf(database).empty());
        database.addMessage(1, "hello");
        QCOMPARE(chatsOf(database).at(0).messageCount, 1);
    }

    void missingTextsFallBack()
    {
        TestDatabase database;
        database.sql().execute("INSERT INTO chat VALUES (17, NULL, NULL, NULL, NULL)");
        database.addMessage(17, "hello");

        const ChatInfo chat = chatsOf(database).at(0);
        QCOMPARE(chat.guid, "chat17");
        QCOMPARE(chat.displayName, "");
        QCOMPARE(chat.identifier, "");
        QVERIFY(!chat.isGroup);
        QVERIFY(chat.members.empty());

        database.sql().execute("UPDATE chat SET guid = ''"); // an empty guid is kept
        QCOMPARE(chatsOf(database).at(0).guid, "");
    }

    void style43IsAGroup_data()
    {
        QTest::addColumn<QString>("style");
        QTest::addColumn<bool>("isGroup");
        QTest::newRow("43") << QStringLiteral("43") << true;
        QTest::newRow("45, two people") << QStringLiteral("45") << false;
        QTest::newRow("0") << QStringLiteral("0") << false;
        QTest::newRow("-43") << QStringLiteral("-43") << false;
        QTest::newRow("430") << QStringLiteral("430") << false;
        QTest::newRow("NULL") << QStringLiteral("NULL") << false;
        QTest::newRow("the text 43") << QStringLiteral("'43'") << true;
        QTest::newRow("43 in its lower 32 bits") << QStringLiteral("4294967339") << true;
    }

    void style43IsAGroup()
    {
        QFETCH(QString, style);
        QFETCH(bool, isGroup);
        OneChat database;
        database.addMessage(1, "hello");
        database.sql().execute("UPDATE chat SET style = " + style.toStdString());
        QCOMPARE(chatsOf(database).at(0).isGroup, isGroup);
    }

    void newestChatComesFirst()
    {
        TestDatabase database;
        for (const std::int64_t chat : {1, 2, 3})
            database.addChat(chat, "chat;" + std::to_string(chat));
        database.addMessage(1, {.date = 200});
        database.addMessage(2, {.date = 300});
        database.addMessage(2, {.date = 100});
        database.addMessage(3, {.date = 250});
        QCOMPARE(guidsOf(database), (Texts{"chat;2", "chat;3", "chat;1"}));

        database.addMessage(1, {.date = 301});
        QCOMPARE(guidsOf(database), (Texts{"chat;1", "chat;2", "chat;3"}));
    }

    void lastDateIsTheNewestMessages_data()
    {
        QTest::addColumn<qint64>("stored");
        QTest::addColumn<double>("seconds");
        QTest::newRow("seconds") << qint64(700'000'000) << 700'000'000.0;
        QTest::newRow("nanoseconds") << qint64(700'000'000'500'000'000) << 700'000'000.5;
        QTest::newRow("the most seconds") << qint64(100'000'000'000) << 100'000'000'000.0;
        QTest::newRow("before 2001") << qint64(-200'000'000'000) << -200.0;
    }

    void lastDateIsTheNewestMessages()
    {
        QFETCH(qint64, stored);
        QFETCH(double, seconds);
        OneChat database;
        database.addMessage(1, {.date = stored});
        database.addMessage(1, {.date = stored - 1});
        QCOMPARE(chatsOf(database).at(0).lastDate.value(), ReferenceTime(seconds));
    }

    void datelessChatComesLast()
    {
        OneChat database;
        database.addMessage(1, "hello");
        database.sql().execute("UPDATE message SET date = NULL");
        database.addChat(2, "chat;2");
        database.addMessage(2, {.date = -5});

        const std::vector<ChatInfo> chats = chatsOf(database);
        QCOMPARE(chats.at(1).guid, "chat;1");
        QCOMPARE(chats.at(1).lastDate.value(), ReferenceTime(0));
    }

    void dateWithoutAbsoluteValueEndsTheProgram()
    {
        OneChat database;
        database.addMessage(1, {.date = std::numeric_limits<std::int64_t>::min()});
        QVERIFY_THROWS_EXCEPTION(std::overflow_error, chatsOf(database));
    }

    void sharedMessageCountsForBothChats()
    {
        OneChat database;
        database.addChat(2, "chat;2");
        const std::int64_t shared = database.addMessage(1, {.date = 500});
        database.addMessage(1, {.date = 600});
        database.sql().execute(
            "INSERT INTO chat_message_join VALUES (2, " + std::to_string(shared) + ")");

        const std::vector<ChatInfo> chats = chatsOf(database);
        QCOMPARE(chats.at(0).messageCount, 2);
        QCOMPARE(chats.at(1).guid, "chat;2");
        QCOMPARE(chats.at(1).messageCount, 1);
        QCOMPARE(chats.at(1).lastDate.value(), ReferenceTime(500));
    }

    void illFormedTextsAreRepaired()
    {
        TestDatabase database;
        database.addChat(1, "g\xFF", "n\xE2\x82", "i\xC0\xAF");
        database.addHandle(1, "h\xF0\x9F\x98");
        database.addMember(1, 1);
        database.addMessage(1, "hello");

        const ChatInfo chat = chatsOf(database).at(0);
        QCOMPARE(chat.guid, "g\uFFFD");
        QCOMPARE(chat.displayName, "n\uFFFD");
        QCOMPARE(chat.identifier, "i\uFFFD\uFFFD");
        QCOMPARE(chat.members, Texts{"h\uFFFD"});
    }
};

} // namespace korvane

QTEST_APPLESS_MAIN(korvane::ChatListTest)
#include "ChatListTest.moc"
