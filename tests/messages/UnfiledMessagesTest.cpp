#include "messages/MessagesDB.h"
#include "support/TestDatabase.h"

#include <QtTest/QTest>

#include <memory>

using namespace korvane;

/// Counting the messages that no chat has.
class UnfiledMessagesTest : public QObject {
    Q_OBJECT

private slots:
    void init()
    {
        m_database = std::make_unique<TestDatabase>();
        m_database->addChat(1, "G1");
    }

    void messagesInChatsAreFiled()
    {
        m_database->addMessage(1, "one");
        m_database->addMessage(1, "two");
        QCOMPARE(count(), 0);
    }

    void messageInNoChatIsUnfiled()
    {
        m_database->addMessage(0, "three");
        QCOMPARE(count(), 1);
    }

    void messageInAChatThatIsNotThereIsUnfiled()
    {
        m_database->addMessage(77, "four");
        QCOMPARE(count(), 1);
    }

    void messageInOneChatAndInOneThatIsNotThereIsFiled()
    {
        const auto rowID = m_database->addMessage(1, "five");
        m_database->sql().execute(
            "INSERT INTO chat_message_join VALUES (77, " + std::to_string(rowID) + ")");
        QCOMPARE(count(), 0);
    }

    void joinRowWithoutAMessageDoesNotCount()
    {
        m_database->sql().execute("INSERT INTO chat_message_join VALUES (1, NULL), (1, 999)");
        m_database->addMessage(0, "six");
        QCOMPARE(count(), 1);
    }

private:
    std::int64_t count() const { return MessagesDB(m_database->path()).unfiledMessages(); }

    std::unique_ptr<TestDatabase> m_database;
};

QTEST_GUILESS_MAIN(UnfiledMessagesTest)
#include "UnfiledMessagesTest.moc"
