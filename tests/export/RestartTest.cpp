#include "export/ExportSetup.h"
#include "support/Printing.h"

using namespace std::string_literals;

namespace korvane {

namespace fs = std::filesystem;

using RowIDs = std::vector<std::int64_t>;
using Change = void (*)(ExportSetup&);

namespace {

/// The outcome of the second of two syncs. The chat had two messages at the first and has three
/// now; a Change was made in between.
struct Expected {
    RowIDs rowIDs; ///< in the file that the record names
    std::int64_t messages; ///< the count in the record
    bool sameEpoch;
};

const RowIDs appended{1, 2, 3};
const RowIDs appendedAnew{1, 2, 1, 2, 3};

void changeRecord(const ExportSetup& setup, const std::function<void(ChatState&)>& change)
{
    ChatState record = setup.record(1);
    change(record);
    setup.setRecord(1, record);
}

template <int version>
void setVersion(ExportSetup& setup)
{
    changeRecord(setup, [](ChatState& record) { record.formatVersion = version; });
}

void removeVersion(ExportSetup& setup)
{
    changeRecord(setup, [](ChatState& record) { record.formatVersion.reset(); });
}

void removeFile(ExportSetup& setup)
{
    fs::remove(setup.file(1));
}

void removeState(ExportSetup& setup)
{
    fs::remove(setup.stateFile());
}

void changeTitle(ExportSetup& setup)
{
    setup.chats[0].displayName = "Club";
}

ExportSetup& withTwoMessages(ExportSetup& setup)
{
    setup.addChat(1, "Team");
    setup.addMessages(1, 2);
    setup.sync();
    return setup;
}

} // namespace

/// When a sync appends to a chat's file, when it writes the file from scratch, and when a chat
/// counts as new.
class RestartTest : public QObject {
    Q_OBJECT

private slots:
    void decidesBetweenAppendingAndStartingAfresh_data()
    {
        QTest::addColumn<Change>("change");
        QTest::addColumn<Expected>("expected");
        const auto row = [](const char* name, Change change, const Expected& expected) {
            QTest::newRow(name) << change << expected;
        };
        row("nothing changed", [](ExportSetup&) {}, {appended, 3, true});
        row("the file is gone", removeFile, {appended, 3, false});
        row("the title changed", changeTitle, {appended, 3, false});
        row("the title changed by case alone",
            [](ExportSetup& setup) { setup.chats[0].displayName = "team"; }, {appended, 3, false});
        row("the title changed by an accent's form",
            [](ExportSetup& setup) {
                setup.chats[0].displayName = "Te\u0301am";
                setup.sync();
                setup.chats[0].displayName = "T\u00e9am";
            },
            {appended, 3, false});
        row("the title changed and the file is gone",
            [](ExportSetup& setup) {
                changeTitle(setup);
                removeFile(setup);
            },
            {appended, 3, false});
        row("the record has no title",
            [](ExportSetup& setup) {
                changeRecord(setup, [](ChatState& record) { record.title.reset(); });
            },
            {appended, 3, false});
        row("the record has another title",
            [](ExportSetup& setup) {
                changeRecord(setup, [](ChatState& record) { record.title = "Tea"; });
            },
            {appended, 3, false});
        row("no format version", removeVersion, {appendedAnew, 3, false});
        row("an older format version", setVersion<3>, {appendedAnew, 3, false});
        row("a newer format version", setVersion<5>, {appendedAnew, 3, false});
        row("format version zero", setVersion<0>, {appendedAnew, 3, false});
        row("an older format version and no file",
            [](ExportSetup& setup) {
                removeFile(setup);
                setVersion<3>(setup);
            },
            {appended, 3, false});
        row("an older format version and no title",
            [](ExportSetup& setup) {
                changeRecord(setup, [](ChatState& record) {
                    record.title.reset();
                    record.formatVersion = 3;
                });
            },
            {appendedAnew, 3, false});
        row("the state is lost", removeState, {appendedAnew, 3, false});
        row("the state is broken",
            [](ExportSetup& setup) { writeFile(setup.stateFile(), R"({"chats":{"x":{}}})"); },
            {appendedAnew, 3, false});
        row("the state is lost and the file is gone",
            [](ExportSetup& setup) {
                removeFile(setup);
                removeState(setup);
            },
            {appended, 3, false});
        row("the file is empty", [](ExportSetup& setup) { writeFile(setup.file(1), ""); },
            {{3}, 3, true});
        row("the file has a new name in the record",
            [](ExportSetup& setup) {
                changeRecord(setup, [](ChatState& record) { record.fileName = "other.txt"; });
            },
            {appended, 3, false});
    }

    void decidesBetweenAppendingAndStartingAfresh()
    {
        QFETCH(Change, change);
        QFETCH(Expected, expected);
        ExportSetup setup;
        withTwoMessages(setup);
        const ChatState before = setup.record(1);
        change(setup);

        setup.addMessages(1, 1);
        const SyncResult result = setup.sync();
        const ChatState after = setup.record(1);
        QCOMPARE(setup.rowIDs(1), expected.rowIDs);
        QCOMPARE(result.added, expected.sameEpoch ? 1 : 3);
        QCOMPARE(result.chatsTouched, 1);
        QCOMPARE(after.lastRowID, 3);
        QCOMPARE(after.messages.value_or(-1), expected.messages);
        QCOMPARE(after.title, std::optional(setup.chats[0].displayName));
        QCOMPARE(after.formatVersion.value_or(-1), 4);
        QCOMPARE(after.epoch == before.epoch, expected.sameEpoch);
        QVERIFY(isEpoch(after.epoch.value()));
        QCOMPARE(describe(setup.sync()), "added 0, touched 0"s);
        QVERIFY(setup.record(1) == after);
    }

    void deletedFileIsRestartedWithNewEpoch()
    {
        ExportSetup setup;
        const ChatState before = withTwoMessages(setup).record(1);
        const std::string bytes = readFile(setup.file(1));
        removeFile(setup);
        QCOMPARE(describe(setup.sync()), "added 2, touched 1"s);
        QCOMPARE(readFile(setup.file(1)), bytes);
        ChatState after = setup.record(1);
        QVERIFY(after.epoch != before.epoch);
        after.epoch = before.epoch;
        QVERIFY(after == before);
    }

    void deletedFileOfAnUnchangedChatIsRestarted()
    {
        ExportSetup setup;
        withTwoMessages(setup);
        setup.addChat(2, "Other");
        setup.addMessages(2, 1);
        setup.sync();
        const ChatState other = setup.record(2);
        removeFile(setup);
        QCOMPARE(describe(setup.sync()), "added 2, touched 1"s);
        QVERIFY(setup.record(2) == other);
    }

    void changedTitleRewritesTheFileUnderItsOldName()
    {
        ExportSetup setup;
        withTwoMessages(setup);
        changeTitle(setup);
        QCOMPARE(describe(setup.sync()), "added 2, touched 1"s);
        QCOMPARE(setup.record(1).fileName, "Team (1) Korvane Wrapped.jsonl.txt"s);
        QCOMPARE(setup.record(1).title, std::optional("Club"s));
        const std::string bytes = readFile(setup.file(1));
        QVERIFY(bytes.find(R"("conversationName":"Club")") != std::string::npos);
        QVERIFY(bytes.find("Team") == std::string::npos);
        QVERIFY(!fs::exists(setup.folder() / "Club (1) Korvane Wrapped.jsonl.txt"));
    }

    void aTitleThatChangesBackIsRewrittenTwice()
    {
        ExportSetup setup;
        withTwoMessages(setup);
        const std::string bytes = readFile(setup.file(1));
        const auto first = setup.record(1).epoch;
        changeTitle(setup);
        setup.sync();
        const auto second = setup.record(1).epoch;
        setup.chats[0].displayName = "Team";
        QCOMPARE(describe(setup.sync()), "added 2, touched 1"s);
        QVERIFY(setup.record(1).epoch != first && setup.record(1).epoch != second);
        QCOMPARE(readFile(setup.file(1)), bytes);
    }

    void lostStateAppendsTheHistoryOnceMore()
    {
        ExportSetup setup;
        const ChatState before = withTwoMessages(setup).record(1);
        const std::string bytes = readFile(setup.file(1));
        removeState(setup);
        QCOMPARE(describe(setup.sync()), "added 2, touched 1"s);
        QCOMPARE(readFile(setup.file(1)), bytes + bytes);
        QCOMPARE(setup.record(1).messages.value_or(-1), 2);
        QVERIFY(setup.record(1).epoch != before.epoch);
    }

    void anotherFormatUnderAnotherTitleLeavesTheOldFileAlone()
    {
        ExportSetup setup;
        withTwoMessages(setup);
        const fs::path old = setup.file(1);
        const std::string bytes = readFile(old);
        setVersion<3>(setup);
        changeTitle(setup);
        QCOMPARE(describe(setup.sync()), "added 2, touched 1"s);
        QCOMPARE(readFile(old), bytes);
        QCOMPARE(setup.record(1).fileName, "Club (1) Korvane Wrapped.jsonl.txt"s);
        QCOMPARE(setup.rowIDs(1), (RowIDs{1, 2}));
    }

    void restartOfAChatThatLostItsMessagesRemovesTheFile()
    {
        ExportSetup setup;
        const ChatState before = withTwoMessages(setup).record(1);
        setup.db.sql().execute("DELETE FROM chat_message_join");
        QCOMPARE(describe(setup.sync()), "added 0, touched 0"s);
        QVERIFY(setup.record(1) == before);
        QCOMPARE(setup.rowIDs(1), (RowIDs{1, 2}));

        changeTitle(setup);
        QCOMPARE(describe(setup.sync()), "added 0, touched 0"s);
        const ChatState after = setup.record(1);
        QVERIFY(!fs::exists(setup.file(1)));
        QCOMPARE(after.lastRowID, 0);
        QCOMPARE(after.messages.value_or(-1), 0);
        QCOMPARE(after.title, std::optional("Club"s));
        QVERIFY(after.epoch != before.epoch);
    }

    void aDanglingLinkCountsAsNoFile()
    {
        ExportSetup setup;
        const auto epoch = withTwoMessages(setup).record(1).epoch;
        const fs::path file = setup.file(1);
        fs::remove(file);
        fs::create_symlink("nowhere", file);
        QCOMPARE(describe(setup.sync()), "added 2, touched 1"s);
        QVERIFY(!fs::is_symlink(file));
        QCOMPARE(setup.rowIDs(1), (RowIDs{1, 2}));
        QVERIFY(setup.record(1).epoch != epoch);
    }

    void aLinkToAFileIsAppendedTo()
    {
        ExportSetup setup;
        withTwoMessages(setup);
        const fs::path file = setup.file(1);
        fs::rename(file, setup.folder() / "moved");
        fs::create_symlink("moved", file);
        setup.addMessages(1, 1);
        QCOMPARE(describe(setup.sync()), "added 1, touched 1"s);
        QVERIFY(fs::is_symlink(file));
        QCOMPARE(setup.rowIDs(1), (RowIDs{1, 2, 3}));
    }
};

} // namespace korvane

QTEST_APPLESS_MAIN(korvane::RestartTest)
#include "RestartTest.moc"
