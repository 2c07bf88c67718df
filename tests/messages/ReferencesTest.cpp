#include "messages/Rows.h"

namespace korvane {

namespace {

/// The guids of the messages in filledChat(); the row ids count from 1.
const std::vector<std::string> guids = {"A", "p:0/B", "bp:C", "p:0", "X/Y", "/Z", "p:", "D/", "",
    "p:1/p:0/E", "bp:F", "F", "p:0/bp:G", "G", "\u00C4"};

std::unique_ptr<OneChat> filledChat()
{
    auto database = std::make_unique<OneChat>();
    for (const std::string& guid : guids)
        database->addMessage(1, {.guid = guid});
    return database;
}

} // namespace

/// References from replies and reactions to other messages of the chat, by guid.
class ReferencesTest : public QObject {
    Q_OBJECT

private slots:
    void resolvesReferences_data()
    {
        QTest::addColumn<std::optional<std::string>>("reference");
        QTest::addColumn<std::string>("target"); // the target's guid, or "(none)"

        const auto row = [](const char* name, std::optional<std::string> reference,
                             const char* target = "(none)") {
            QTest::newRow(name) << std::move(reference) << std::string(target);
        };
        row("no reference", {});
        row("an empty reference, though a guid is empty", "");
        row("a guid as it stands", "A", "A");
        row("an unknown guid", "Q");
        row("a guid in another case", "a");
        row("a guid with blanks", " A");
        row("a part of a message", "p:0/A", "A");
        row("another part", "p:12/A", "A");
        row("a part without number", "p:/A", "A");
        row("a part that is no number", "p:x y/A", "A");
        row("a part of an unknown guid", "p:0/Q");
        row("a guid that itself begins with p:", "p:0/B", "p:0/B");
        row("no slash, and a guid that is just so", "p:0", "p:0");
        row("no slash and no such guid", "p:1");
        row("only the prefix, and a guid that is just so", "p:", "p:");
        row("nothing behind the slash", "p:0/", "p:0");
        row("nothing behind the slash and no such guid", "p:1/");
        row("nothing around the slash", "p:/", "p:");
        row("only the first slash divides", "p:0/X/Y", "X/Y");
        row("two slashes in a row: the second one stays", "p:0//Z", "/Z");
        row("two slashes and nothing else", "p:0//");
        row("a slash at the end stays", "p:0/D/", "D/");
        row("prefixes do not add up", "p:0/p:0/A");
        row("a guid with both prefixes", "p:1/p:0/E", "p:1/p:0/E");
        row("a part of a guid with a prefix", "p:3/p:0/B", "p:0/B");
        row("a balloon", "bp:A", "A");
        row("a balloon of an unknown guid", "bp:Q");
        row("a guid that itself begins with bp:", "bp:C", "bp:C");
        row("a balloon without its own guid", "bp:F", "bp:F");
        row("a part of a balloon", "p:0/bp:F", "bp:F");
        row("a part of a balloon is not taken twice apart", "p:0/bp:A");
        row("a guid of a part of a balloon", "p:0/bp:G", "p:0/bp:G");
        row("a balloon of a part is not taken twice apart", "bp:p:0/A");
        row("a balloon with a guid of a part", "bp:p:0/B", "p:0/B");
        row("a balloon of nothing: the empty guid", "bp:", "");
        row("a prefix in capitals", "P:0/A");
        row("a prefix in the middle", "xp:0/A");
        row("a slash without prefix", "0/A");
        row("another letter", "b:A");
        row("beyond ASCII", "p:0/\u00C4", "\u00C4");
    }

    void resolvesReferences()
    {
        QFETCH(std::optional<std::string>, reference);
        QFETCH(std::string, target);
        const auto database = filledChat();
        const MessageRow row
            = database->rowOf({.associatedType = 2000, .associatedGuid = reference});
        const RowID found = row.reactionTargetRowID;
        QCOMPARE(found ? guids.at(static_cast<std::size_t>(*found - 1)) : "(none)", target);

        removeGuidIndex(*database);
        QCOMPARE(database->row(row.rowID).reactionTargetRowID, found);
    }

    /// The index is used unless a guid begins with a prefix, as some of the chat do.
    void indexAndMapAgree_data() { resolvesReferences_data(); }
    void indexAndMapAgree()
    {
        QFETCH(std::optional<std::string>, reference);
        const auto database = filledChat();
        const auto row = database->rowOf({.associatedType = 2000, .associatedGuid = reference});
        database->sql().execute("DELETE FROM message WHERE guid GLOB 'p:*' OR guid GLOB 'bp:*'");
        const RowID found = database->row(row.rowID).reactionTargetRowID;
        removeGuidIndex(*database);
        QCOMPARE(found, database->row(row.rowID).reactionTargetRowID);
    }

    void repliesFollowTheSameRules_data() { resolvesReferences_data(); }
    void repliesFollowTheSameRules()
    {
        QFETCH(std::optional<std::string>, reference);
        QFETCH(std::string, target);
        const auto database = filledChat();
        const RowID found = database->rowOf({.threadGuid = reference}).replyToRowID;
        QCOMPARE(found ? guids.at(static_cast<std::size_t>(*found - 1)) : "(none)", target);
    }

    void reachMessagesOfEarlierRuns()
    {
        OneChat database;
        const std::int64_t first = database.addMessage(1, {.guid = "A"});
        const std::int64_t second = database.addMessage(1, {.threadGuid = "A"});
        const std::vector<MessageRow> rows = database.rows(first);
        QCOMPARE(rowIDs(rows), std::vector<std::int64_t>{second});
        QCOMPARE(rows.front().replyToRowID, RowID(first));
    }

    void reachMessagesStillToCome()
    {
        OneChat database;
        database.addMessage(1, {.date = 100, .threadGuid = "A"});
        const std::int64_t second = database.addMessage(1, {.guid = "A", .date = 200});
        QCOMPARE(database.row(1).replyToRowID, RowID(second));
    }

    void reachThemselves()
    {
        OneChat database;
        QCOMPARE(
            database.rowOf({.rowID = 5, .guid = "A", .threadGuid = "A"}).replyToRowID, RowID(5));
    }

    void stayInsideTheChat()
    {
        OneChat database;
        database.addChat(2, "chat;2");
        database.addMessage(2, {.guid = "other chat"});
        database.addMessage(0, {.guid = "no chat"});
        QCOMPARE(database.rowOf({.threadGuid = "other chat"}).replyToRowID, noRow);
        QCOMPARE(database.rowOf({.threadGuid = "no chat"}).replyToRowID, noRow);
    }

    void sharedMessageRefersWithinTheChatThatIsRead()
    {
        OneChat database;
        database.addChat(2, "chat;2");
        const std::int64_t first = database.addMessage(1, {.guid = "A"});
        const std::int64_t shared = database.addMessage(1, {.threadGuid = "A"});
        database.sql().execute(
            "INSERT INTO chat_message_join VALUES (2, " + std::to_string(shared) + ")");

        QCOMPARE(database.row(shared).replyToRowID, RowID(first));
        const std::vector<MessageRow> others = MessagesDB(database.path()).messages(2, 0);
        QCOMPARE(rowIDs(others), std::vector<std::int64_t>{shared});
        QCOMPARE(others.front().replyToRowID, noRow);
    }

    void repairedGuidsMatch()
    {
        OneChat database;
        database.addMessage(1, {.guid = "A\xFF"});
        database.addMessage(1, {.guid = "B\uFFFD"});
        const auto target = [&database](const std::string& guid) {
            return database.rowOf({.threadGuid = guid}).replyToRowID;
        };
        QCOMPARE(target("A\xFF"), RowID(1));
        QCOMPARE(target("A\xFE"), RowID(1)); // both are repaired to the same text
        QCOMPARE(target("A\uFFFD"), RowID(1));
        QCOMPARE(target("p:0/A\xC3"), RowID(1));
        QCOMPARE(target("bp:B\xFF"), RowID(2));
        QCOMPARE(target("A\xFF\xFF"), noRow);
    }

    void messagesWithoutGuidAreNoTargets()
    {
        OneChat database;
        database.addMessage(1, {.guid = "A"});
        database.addMessage(1, {.guid = "B"});
        database.sql().execute("UPDATE message SET guid = NULL WHERE guid = 'A'");
        QCOMPARE(database.rowOf({.threadGuid = "A"}).replyToRowID, noRow);
        QCOMPARE(database.rowOf({.threadGuid = "bp:"}).replyToRowID, noRow);
        QCOMPARE(database.rowOf({.threadGuid = "B"}).replyToRowID, RowID(2));
    }

    void guidThatIsABlobIsFound()
    {
        OneChat database;
        database.addMessage(1, {.guid = "A"});
        database.addMessage(1, {.threadGuid = "A"});
        database.sql().execute("UPDATE message SET guid = CAST(guid AS BLOB) WHERE guid = 'A'");
        QCOMPARE(database.row(2).replyToRowID, RowID(1));
    }

    void indexInAnotherOrderThanThatOfBytesIsNotUsed()
    {
        OneChat database;
        database.addMessage(1, {.guid = "a"});
        database.addMessage(1, {.threadGuid = "A"});
        removeGuidIndex(database);
        database.sql().execute("CREATE INDEX any_case ON message (guid COLLATE NOCASE);"
                               "CREATE INDEX some_rows ON message (guid) WHERE guid = 'B'");
        QCOMPARE(database.row(2).replyToRowID, noRow);
    }

    void laterRowTakesAGuidOver()
    {
        OneChat database;
        database.addMessage(1, {.rowID = 3, .date = 900});
        database.addMessage(1, {.rowID = 4, .date = 100, .threadGuid = "A"});
        database.addMessage(1, {.rowID = 5, .date = 500});
        database.sql().execute("ALTER TABLE message RENAME COLUMN guid TO unique_guid;"
                               "ALTER TABLE message ADD COLUMN guid TEXT;"
                               "UPDATE message SET guid = 'A' WHERE ROWID IN (3, 5)");
        QCOMPARE(database.row(4).replyToRowID, RowID(5));
    }

    void thousandReferencesResolve()
    {
        OneChat database;
        database.sql().execute("BEGIN");
        for (int i = 1; i <= 1000; ++i)
            database.addMessage(1, {.threadGuid = "p:0/M" + std::to_string(1001 - i)});
        database.sql().execute("COMMIT");
        for (const MessageRow& row : database.rows())
            QCOMPARE(row.replyToRowID, RowID(1001 - row.rowID));
    }
};

} // namespace korvane

QTEST_APPLESS_MAIN(korvane::ReferencesTest)
#include "ReferencesTest.moc"
