#include "messages/Rows.h"

#include <unordered_set>

namespace korvane {

namespace {

std::vector<ChatInfo> chatsOf(const TestDatabase& database)
{
    return MessagesDB(database.path()).chats();
}

using Texts = std::vector<std::string>;

} // namespace

/// The members of a chat, and the equality and hash of ChatInfo.
class ChatMembersTest : public QObject {
    Q_OBJECT

private slots:
    void membersKeepTheOrderOfTheirRows()
    {
        TestDatabase database;
        database.addHandle(1, "ann");
        database.addHandle(2, "bo");
        database.addHandle(3, "cy");
        for (const std::int64_t chat : {1, 2}) {
            database.addChat(chat, "chat;" + std::to_string(chat));
            database.addMessage(chat, {.date = 1000 - chat});
        }
        database.addMember(1, 3);
        database.addMember(2, 2);
        database.addMember(1, 1);
        database.addMember(1, 3); // a duplicate row
        database.addMember(3, 1); // no such chat
        database.addMember(2, 9); // no such handle

        const std::vector<ChatInfo> chats = chatsOf(database);
        QCOMPARE(chats.at(0).members, (Texts{"cy", "ann", "cy"}));
        QCOMPARE(chats.at(1).members, Texts{"bo"});
    }

    void membersWithoutAddressAreLeftOut()
    {
        OneChat database;
        database.sql().execute("INSERT INTO handle VALUES (2, NULL), (3, '')");
        for (const std::int64_t handle : {2, 1, 3})
            database.addMember(1, handle);
        database.addMessage(1, "hello");
        QCOMPARE(chatsOf(database).at(0).members, (Texts{"+15550100", ""}));
    }

    void emptyJoinTableGivesNoMembers()
    {
        OneChat database;
        database.addMessage(1, "hello");
        QVERIFY(chatsOf(database).at(0).members.empty());
    }

    void equalChatsAreEqualAndHashAlike()
    {
        const ChatInfo chat{.id = 1,
            .guid = "g",
            .displayName = "n",
            .identifier = "i",
            .isGroup = false,
            .lastDate = ReferenceTime(5),
            .messageCount = 2,
            .members = {"a", "b"}};
        std::vector<ChatInfo> others(9, chat);
        others[0].id = 2;
        others[1].guid = "h";
        others[2].displayName = "m";
        others[3].identifier = "j";
        others[4].isGroup = true;
        others[5].lastDate = ReferenceTime(6);
        others[6].lastDate.reset();
        others[7].messageCount = 3;
        others[8].members = {"b", "a"};

        const std::hash<ChatInfo> hash;
        std::unordered_set<std::size_t> hashes{hash(chat)};
        QCOMPARE(hash(ChatInfo(chat)), hash(chat));
        QVERIFY(ChatInfo(chat) == chat);
        for (const ChatInfo& other : others) {
            QVERIFY(other != chat);
            QVERIFY(hashes.insert(hash(other)).second);
        }
    }
};

} // namespace korvane

QTEST_APPLESS_MAIN(korvane::ChatMembersTest)
#include "ChatMembersTest.moc"
