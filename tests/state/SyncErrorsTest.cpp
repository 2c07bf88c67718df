#include "state/StateSetup.h"
#include "storage/SupportLock.h"
#include "support/Printing.h"

#include <QtTest/QTest>

#include <limits>

using namespace korvane;

namespace fs = std::filesystem;

/// Exports that fail, partly or completely.
class SyncErrorsTest : public QObject {
    Q_OBJECT

private slots:
    void errorIsToldAndThenTheChats()
    {
        StateSetup setup;
        setup.addChat(1, "Team");
        AppState& state = setup.open();
        setup.select({1});
        obstruct(setup, 1, "Team");
        const Recorder recorder(state);
        QVERIFY(setup.sync());
        QCOMPARE(recorder.changes(),
            lines({"isSyncing: true", "isSyncing: false", "status: Error: Team: Is a directory",
                "chats: 1", "status: 1 chats · 1 selected"}));
    }

    void firstErrorOfTheListIsToldAndTheOthersAreNot()
    {
        StateSetup setup;
        setup.addChat(1, "Old");
        setup.addChat(3, "New"); // first in the list, last in the selection
        setup.addChat(2, "Middle", 0);
        setup.files.db.addMessage(2, {.date = 700'000'001});
        AppState& state = setup.open();
        setup.select({1, 2, 3});
        obstruct(setup, 1, "Old");
        obstruct(setup, 3, "New");
        const Recorder recorder(state);
        QVERIFY(setup.sync());
        QCOMPARE(
            recorder.statuses(), lines({"Error: New: Is a directory", "3 chats · 3 selected"}));
        QCOMPARE(setup.files.rowIDs(2).size(), 1U);
    }

    void folderThatCannotBeMadeIsAnError()
    {
        StateSetup setup;
        setup.addChat(1, "Team");
        AppState& state = setup.open();
        setup.select({1});
        writeFile(setup.files.folder(), "a file in the way");
        const Recorder recorder(state);
        QVERIFY(setup.sync());
        QVERIFY2(recorder.statuses().starts_with("Error: Can't create output folder: "),
            recorder.statuses().c_str());
        QCOMPARE(state.status(), std::string("1 chats · 1 selected"));
    }

    void databaseThatIsGoneIsAnErrorAndNeedsAccessUntilItIsBack()
    {
        StateSetup setup;
        setup.addChat(1, "Team");
        AppState& state = setup.open();
        setup.select({1});
        fs::rename(setup.files.db.path(), setup.files.db.path() + ".aside");
        Recorder recorder(state);
        QVERIFY(setup.sync());
        QCOMPARE(recorder.changes(),
            lines({"isSyncing: true", "isSyncing: false", std::string("status: ") + cannotOpen,
                "needsAccess: true", "status: Needs Full Disk Access"}));
        QVERIFY(!fs::exists(setup.files.folder()));

        fs::rename(setup.files.db.path() + ".aside", setup.files.db.path());
        recorder.clear();
        QVERIFY(setup.sync()); // needsAccess does not block it
        QCOMPARE(recorder.changes(),
            lines({"isSyncing: true", "isSyncing: false",
                "status: Added 1 messages · " + StateSetup::timeText(), "needsAccess: false",
                "chats: 1", "status: 1 chats · 1 selected"}));
    }

    void databaseThatAWriterHasLockedIsAnErrorUntilHeIsDone()
    {
        StateSetup setup;
        setup.addChat(1, "Team");
        AppState& state = setup.open();
        setup.select({1});
        setup.files.db.sql().execute("BEGIN EXCLUSIVE");
        const Recorder recorder(state);
        QVERIFY(setup.sync());
        setup.files.db.sql().execute("COMMIT");
        QVERIFY(setup.sync());
        QCOMPARE(recorder.statuses(),
            lines({cannotRead, "Needs Full Disk Access",
                "Added 1 messages · " + StateSetup::timeText(), "1 chats · 1 selected"}));
    }

    void writerInTheMidstOfItsWorkDoesNotDisturb_data()
    {
        QTest::addColumn<std::string>("mode");
        QTest::newRow("log ahead of the database") << std::string("WAL");
        QTest::newRow("journal beside it") << std::string("DELETE");
    }

    void writerInTheMidstOfItsWorkDoesNotDisturb()
    {
        QFETCH(const std::string, mode);
        StateSetup setup;
        setup.addChat(1, "Team");
        setup.files.db.sql().execute("PRAGMA journal_mode = " + mode);
        AppState& state = setup.open();
        setup.select({1});
        setup.files.db.sql().execute("BEGIN IMMEDIATE");
        setup.files.db.addMessage(1, "not committed yet");
        const Recorder recorder(state);
        QVERIFY(setup.sync());
        setup.files.db.sql().execute("COMMIT");
        QVERIFY(setup.sync());
        QCOMPARE(recorder.count("status: Added 1 messages · " + StateSetup::timeText()), 2);
        QCOMPARE(setup.files.rowIDs(1).size(), 2U);
    }

    void exportOfAnotherProgramKeepsThisOneOut()
    {
        StateSetup setup;
        setup.addChat(1, "Team");
        AppState& state = setup.open();
        setup.select({1});
        const Recorder recorder(state);
        {
            const SupportLock other(setup.files.support());
            QVERIFY(setup.sync());
        }
        QVERIFY2(
            recorder.changes().starts_with("isSyncing: true\nisSyncing: false\n"
                                           "status: Error: Another export is running (SyncErr"),
            recorder.changes().c_str());
        QVERIFY(recorder.changes().ends_with(").\nchats: 1\nstatus: 1 chats · 1 selected\n"));
        QVERIFY(!fs::exists(setup.files.folder()));

        QVERIFY(setup.sync()); // the other export has ended
        QCOMPARE(recorder.count("status: Added 1 messages · " + StateSetup::timeText()), 1);
        QCOMPARE(setup.files.rowIDs(1).size(), 1U);
    }

    void exportKeepsOthersOutOnlyWhileItRuns()
    {
        StateSetup setup;
        setup.addChat(1, "Team");
        setup.open();
        QVERIFY(isLockFree(setup));
        setup.select({1});
        HeldExport held(setup.files);
        setup.state().syncNow();
        QTRY_VERIFY(held.isReached());
        QVERIFY(!isLockFree(setup));
        held.release();
        QVERIFY(setup.waitForExport());
        QVERIFY(isLockFree(setup));
    }

    void anotherProgramMayExportBetweenTwoRuns()
    {
        StateSetup setup;
        setup.addChat(1, "Team");
        AppState& state = setup.open();
        setup.select({1});
        QVERIFY(setup.sync());
        setup.files.addMessages(1, 1);
        {
            const SupportLock other(setup.files.support());
            const SyncResult result = Exporter::sync(state.chats(), {}, setup.files.folder(),
                setup.files.support(), setup.files.db.path());
            QCOMPARE(describe(result), std::string("added 1, touched 1"));
        }
        setup.files.addMessages(1, 1);
        QVERIFY(setup.sync());
        QCOMPARE(setup.files.rowIDs(1), (std::vector<std::int64_t>{1, 2, 3}));
    }

    void supportFolderThatCannotBeMadeIsAnError()
    {
        StateSetup setup;
        setup.addChat(1, "Team");
        const std::string blocked = setup.files.db.folder() + "/blocked";
        writeFile(blocked, "a file in the way");
        setup.environment.support = SupportFolder(blocked);
        AppState& state = setup.open();
        setup.select({1});
        const Recorder recorder(state);
        QVERIFY(setup.sync());
        QCOMPARE(recorder.statuses(),
            lines({"Error: Can't write to the support folder " + blocked + ".",
                "1 chats · 1 selected"}));
    }

    void dateOutOfRangeIsAnErrorAndTheChatsBeforeItAreNotWrittenTwice()
    {
        StateSetup setup;
        setup.addChat(1, "Odd");
        setup.files.db.addMessage(1, {.date = std::numeric_limits<std::int64_t>::min()});
        setup.addChat(2, "Team"); // newer, so it comes first
        AppState& state = setup.open();
        QCOMPARE(state.status(), std::string("2 chats · 0 selected"));
        setup.select({1, 2});
        const Recorder recorder(state);
        QVERIFY(setup.sync());
        QVERIFY2(recorder.statuses().starts_with("Error: "), recorder.statuses().c_str());
        QVERIFY(recorder.statuses().find("A message has a date that is out of range.\n")
            != std::string::npos);
        const std::string once = readFile(setup.exportFile(2, "Team"));
        QCOMPARE(rowIDsIn(once).size(), 1U);
        QVERIFY(setup.sync());
        QCOMPARE(readFile(setup.exportFile(2, "Team")), once);
    }

private:
    static constexpr auto cannotOpen = "Error: Can't open the Messages database.";
    static constexpr auto cannotRead
        = "Error: Messages database is locked by macOS privacy settings.";

    /// Creates a folder in the place of the chat's file.
    static void obstruct(const StateSetup& setup, std::int64_t chat, const std::string& title)
    {
        fs::create_directories(setup.exportFile(chat, title) / "full");
    }

    static bool isLockFree(const StateSetup& setup)
    {
        try {
            const SupportLock lock(setup.files.support());
            return true;
        } catch (const std::runtime_error&) {
            return false;
        }
    }
};

QTEST_GUILESS_MAIN(SyncErrorsTest)
#include "SyncErrorsTest.moc"
