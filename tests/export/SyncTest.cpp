#include "export/ExportSetup.h"
#include "support/Printing.h"

#include <limits>
#include <set>

using namespace std::string_literals;

namespace korvane {

namespace fs = std::filesystem;

namespace {

constexpr auto tail = ") Korvane Wrapped.jsonl.txt";

} // namespace

/// What successive syncs append to the files and store in the state.
class SyncTest : public QObject {
    Q_OBJECT

private slots:
    void noChatsSaveAnEmptyState()
    {
        const ExportSetup setup;
        QVERIFY(setup.sync() == SyncResult());
        QCOMPARE(readFile(setup.stateFile()), R"({"chats":{}})"s);
        QVERIFY(fs::is_directory(setup.folder()));
        QVERIFY(fs::is_empty(setup.folder()));
    }

    void noChatsLeaveTheRecordsAsTheyWere()
    {
        const ExportSetup setup;
        setup.setRecord(1, {.lastRowID = 5, .fileName = "a/b", .formatVersion = 3});
        const std::string before = readFile(setup.stateFile());
        QVERIFY(setup.sync() == SyncResult());
        QCOMPARE(readFile(setup.stateFile()), before);
    }

    void theFirstSyncWritesAllMessages()
    {
        ExportSetup setup;
        setup.addChat(7, "A/B: C?");
        setup.addMessages(7, 3);
        QCOMPARE(describe(setup.sync()), "added 3, touched 1"s);
        const ChatState record = setup.record(7);
        QCOMPARE(record.lastRowID, 3);
        QCOMPARE(record.fileName, "A_B_ C_ (7"s + tail);
        QCOMPARE(record.title, std::optional("A/B: C?"s));
        QCOMPARE(record.messages.value_or(-1), 3);
        QCOMPARE(record.formatVersion.value_or(-1), 4);
        QVERIFY2(isEpoch(record.epoch.value()), record.epoch->c_str());
        QCOMPARE(setup.rowIDs(7), (std::vector<std::int64_t>{1, 2, 3}));
    }

    void theNextSyncAppendsWhatArrived()
    {
        ExportSetup setup;
        setup.addChat(1, "Team");
        setup.addMessages(1, 2);
        setup.sync();
        const ChatState before = setup.record(1);
        const std::string bytes = readFile(setup.file(1));

        setup.addMessages(1, 3);
        QCOMPARE(describe(setup.sync()), "added 3, touched 1"s);
        QVERIFY(readFile(setup.file(1)).starts_with(bytes));
        QCOMPARE(setup.rowIDs(1), (std::vector<std::int64_t>{1, 2, 3, 4, 5}));
        ChatState expected = before;
        expected.lastRowID = 5;
        expected.messages = 5;
        QVERIFY(setup.record(1) == expected);
    }

    void nothingNewWritesNothing()
    {
        ExportSetup setup;
        setup.addChat(1, "Team");
        setup.addMessages(1, 2);
        setup.sync();
        const ExportState state = ExportState::load(setup.support());
        const fs::path file = setup.file(1);
        const std::string bytes = readFile(file);
        const fs::file_time_type longAgo = fs::last_write_time(file) - std::chrono::hours(100);
        fs::last_write_time(file, longAgo);

        QCOMPARE(describe(setup.sync()), "added 0, touched 0"s);
        QCOMPARE(readFile(file), bytes);
        QVERIFY(fs::last_write_time(file) == longAgo);
        QVERIFY(ExportState::load(setup.support()) == state);
    }

    void aChatWithoutMessagesIsRecorded()
    {
        ExportSetup setup;
        setup.addChat(1, "Team");
        QCOMPARE(describe(setup.sync()), "added 0, touched 0"s);
        const ChatState record = setup.record(1);
        QCOMPARE(record.fileName, "Team (1"s + tail);
        QCOMPARE(record.lastRowID, 0);
        QCOMPARE(record.messages.value_or(-1), 0);
        QVERIFY(isEpoch(record.epoch.value()));
        QVERIFY(!fs::exists(setup.file(1)));

        setup.chats[0].displayName = "Club";
        setup.sync();
        QCOMPARE(setup.record(1).title, std::optional("Club"s));
        QCOMPARE(setup.record(1).fileName, "Team (1"s + tail);

        setup.addMessages(1, 1);
        QCOMPARE(describe(setup.sync()), "added 1, touched 1"s);
        QCOMPARE(setup.file(1), setup.folder() / ("Team (1"s + tail));
        QCOMPARE(setup.rowIDs(1), std::vector<std::int64_t>{1});
    }

    void aChatWithoutMessagesHasANewEpochEachTime()
    {
        ExportSetup setup;
        setup.addChat(1, "Team");
        setup.sync();
        const auto first = setup.record(1).epoch;
        setup.sync();
        QVERIFY(setup.record(1).epoch != first);
    }

    void theHighestRowIDCountsWhateverTheDates()
    {
        ExportSetup setup;
        setup.addChat(1, "Team");
        setup.db.addMessage(1, {.rowID = 10, .date = 300});
        setup.db.addMessage(1, {.rowID = 30, .date = 100});
        setup.db.addMessage(1, {.rowID = 20, .date = 200});
        setup.sync();
        QCOMPARE(setup.rowIDs(1), (std::vector<std::int64_t>{30, 20, 10}));
        QCOMPARE(setup.record(1).lastRowID, 30);

        setup.db.addMessage(1, {.rowID = 40, .date = 50});
        setup.db.addMessage(1, {.rowID = 25, .date = 400}); // below lastRowID: never exported
        QCOMPARE(describe(setup.sync()), "added 1, touched 1"s);
        QCOMPARE(setup.rowIDs(1), (std::vector<std::int64_t>{30, 20, 10, 40}));
        QCOMPARE(setup.record(1).lastRowID, 40);
    }

    void negativeRowIDsAreGoneOnFrom()
    {
        ExportSetup setup;
        setup.addChat(1, "Team");
        setup.addMessages(1, 1);
        setup.sync();
        ChatState record = setup.record(1);
        record.lastRowID = -9;
        setup.setRecord(1, record);
        setup.db.sql().execute("DELETE FROM chat_message_join");
        setup.db.addMessage(1, {.rowID = -5});
        setup.db.addMessage(1, {.rowID = -7});
        setup.sync();
        QCOMPARE(setup.record(1).lastRowID, -5);
    }

    void messagesOfOtherChatsStayOut()
    {
        ExportSetup setup;
        setup.addChat(1, "One");
        setup.addChat(2, "Two");
        setup.addMessages(1, 1);
        setup.addMessages(2, 1);
        setup.addMessages(1, 1);
        setup.addMessages(0, 1);
        QCOMPARE(describe(setup.sync()), "added 3, touched 2"s);
        QCOMPARE(setup.rowIDs(1), (std::vector<std::int64_t>{1, 3}));
        QCOMPARE(setup.rowIDs(2), std::vector<std::int64_t>{2});
        QCOMPARE(setup.record(1).lastRowID, 3);
        QCOMPARE(setup.record(2).lastRowID, 2);
    }

    void recordsOfOtherChatsStay()
    {
        ExportSetup setup;
        setup.addChat(1, "One");
        setup.addChat(2, "Two");
        setup.addMessages(1, 1);
        setup.addMessages(2, 1);
        setup.sync();
        const ChatState other = setup.record(2);
        const std::string bytes = readFile(setup.file(2));

        setup.chats.pop_back();
        setup.addMessages(1, 1);
        setup.addMessages(2, 1);
        QCOMPARE(describe(setup.sync()), "added 1, touched 1"s);
        QVERIFY(setup.record(2) == other);
        QCOMPARE(readFile(setup.file(2)), bytes);
    }

    void aChatGivenTwiceIsExportedOnce()
    {
        ExportSetup setup;
        setup.addChat(1, "Team");
        setup.addMessages(1, 2);
        setup.chats.push_back(setup.chats[0]);
        QCOMPARE(describe(setup.sync()), "added 2, touched 1"s);
        QCOMPARE(setup.rowIDs(1), (std::vector<std::int64_t>{1, 2}));
    }

    void chatsOfTheSameTitleHaveFilesOfTheirOwn()
    {
        ExportSetup setup;
        setup.addChat(1, "Team");
        setup.addChat(2, "Team");
        setup.addMessages(1, 1);
        setup.addMessages(2, 1);
        QCOMPARE(describe(setup.sync()), "added 2, touched 2"s);
        QCOMPARE(setup.rowIDs(1), std::vector<std::int64_t>{1});
        QCOMPARE(setup.rowIDs(2), std::vector<std::int64_t>{2});
    }

    void countsWhereNoCountWasRecorded()
    {
        ExportSetup setup;
        setup.addChat(1, "Team");
        setup.addMessages(1, 2);
        setup.sync();
        ChatState record = setup.record(1);
        record.messages.reset();
        record.epoch.reset();
        setup.setRecord(1, record);

        setup.sync();
        QVERIFY(setup.record(1) == record);
        setup.addMessages(1, 3);
        setup.sync();
        QCOMPARE(setup.record(1).messages.value_or(-1), 3);
        QVERIFY(!setup.record(1).epoch);
    }

    void aCountStopsAtTheLargestNumber()
    {
        constexpr std::int64_t largest = std::numeric_limits<std::int64_t>::max();
        ExportSetup setup;
        setup.addChat(1, "Team");
        setup.addMessages(1, 1);
        setup.sync();
        ChatState record = setup.record(1);
        for (const std::int64_t before : {largest - 1, largest}) {
            record.messages = before;
            setup.setRecord(1, record);
            setup.addMessages(1, 2);
            setup.sync();
            QCOMPARE(setup.record(1).messages, std::optional(largest));
        }
    }

    void takesTheTitleFromContacts()
    {
        ExportSetup setup;
        setup.chats = {{.id = 1, .guid = ExportSetup::guid(1), .identifier = "+15550000001"}};
        setup.names.map = {{"5550000001", "Ann Lee"}};
        setup.addMessages(1, 1);
        setup.sync();
        QCOMPARE(setup.record(1).fileName, "Ann Lee (1"s + tail);
        QCOMPARE(setup.record(1).title, std::optional("Ann Lee"s));
    }

    void everyEpochIsNew()
    {
        ExportSetup setup;
        constexpr int count = 100;
        for (int i = 1; i <= count; ++i)
            setup.addChat(i, "Chat");
        setup.sync();
        std::set<std::string> epochs;
        for (const auto& [guid, record] : ExportState::load(setup.support()).chats) {
            QVERIFY(isEpoch(record.epoch.value()));
            epochs.insert(*record.epoch);
        }
        QCOMPARE(epochs.size(), std::size_t{count});
    }
};

} // namespace korvane

QTEST_APPLESS_MAIN(korvane::SyncTest)
#include "SyncTest.moc"
