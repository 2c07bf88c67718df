#include "state/StateSetup.h"
#include "support/Printing.h"

#include <QLocale>
#include <QtTest/QTest>

using namespace korvane;

namespace fs = std::filesystem;

/// Exports that the user starts and that succeed.
class SyncNowTest : public QObject {
    Q_OBJECT

private slots:
    void nothingToExportIsSaidAndNothingElseHappens_data()
    {
        QTest::addColumn<std::set<std::string>>("selected");
        QTest::newRow("nothing selected") << std::set<std::string>{};
        QTest::newRow("only chats that are gone") << std::set<std::string>{"gone", "too"};
        QTest::newRow("another case") << std::set<std::string>{"IMESSAGE;-;1"};
    }

    void nothingToExportIsSaidAndNothingElseHappens()
    {
        QFETCH(const std::set<std::string>, selected);
        StateSetup setup;
        setup.addChat(1, "Team");
        AppState& state = setup.open();
        state.setSelected(selected);
        const Recorder recorder(state);
        state.syncNow();
        QCOMPARE(state.status(), std::string(atLeastOne)); // before the call returns
        StateSetup::settle();
        QCOMPARE(recorder.changes(), lines({"status: Select at least one chat"}));
        QCOMPARE(setup.contacts->loads(), 1); // the one at the start
        QVERIFY(!fs::exists(setup.files.folder()));
    }

    void selectedChatsAreNothingBeforeTheChatsAreRead()
    {
        StateSetup setup;
        setup.addChat(1, "Team");
        AppState& state = setup.create();
        setup.select({1});
        state.syncNow();
        QCOMPARE(state.status(), std::string(atLeastOne));
        QVERIFY(!state.isSyncing());
    }

    void runTellsItsResultAndThenTheChats_data()
    {
        QTest::addColumn<int>("messages");
        QTest::addColumn<std::string>("result");
        QTest::newRow("nothing new") << 0 << "Up to date · " + StateSetup::timeText();
        QTest::newRow("one") << 1 << "Added 1 messages · " + StateSetup::timeText();
        QTest::newRow("some") << 14 << "Added 14 messages · " + StateSetup::timeText();
        QTest::newRow("many") << 1234 << "Added 1234 messages · " + StateSetup::timeText();
    }

    void runTellsItsResultAndThenTheChats()
    {
        QFETCH(const int, messages);
        QFETCH(const std::string, result);
        StateSetup setup;
        setup.addChat(1, "Team");
        setup.addChat(2, "Family");
        AppState& state = setup.open();
        setup.select({1});
        QVERIFY(setup.sync());
        setup.files.addMessages(1, messages);
        const Recorder recorder(state);
        QVERIFY(setup.sync());
        QCOMPARE(recorder.changes(),
            lines({"isSyncing: true", "isSyncing: false", "status: " + result, "chats: 2",
                "status: 2 chats · 1 selected"}));
        QCOMPARE(setup.files.rowIDs(1).size(), static_cast<std::size_t>(messages) + 1);
    }

    void timeIsWrittenAsTheUsersLocaleDoes()
    {
        StateSetup setup;
        setup.addChat(1, "Team");
        AppState& state = setup.open();
        setup.select({1});
        QLocale::setDefault(QLocale(QLocale::German, QLocale::Germany));
        const Recorder recorder(state);
        QVERIFY(setup.sync());
        QCOMPARE(recorder.statuses(), lines({"Added 1 messages · 09:41", "1 chats · 1 selected"}));
    }

    void timeIsThatOfTheEnd()
    {
        StateSetup setup;
        setup.addChat(1, "Team");
        const auto now = std::make_shared<QTime>(10, 0);
        setup.environment.timeOfDay = [now] { return *now; };
        AppState& state = setup.open();
        setup.select({1});
        setup.contacts->hold();
        const Recorder recorder(state);
        state.syncNow();
        *now = QTime(22, 30);
        setup.contacts->release();
        QTRY_VERIFY(recorder.statuses().starts_with(
            "Added 1 messages · " + StateSetup::timeText(QTime(22, 30)) + "\n"));
    }

    void onlySelectedChatsAreExported()
    {
        StateSetup setup;
        setup.addChat(1, "Team");
        setup.addChat(2, "Family");
        setup.addChat(3, "Work");
        setup.open().setSelected({StateSetup::guid(1), StateSetup::guid(3), "gone"});
        QVERIFY(setup.sync());
        QVERIFY(fs::exists(setup.exportFile(1, "Team")));
        QVERIFY(!fs::exists(setup.exportFile(2, "Family")));
        QVERIFY(fs::exists(setup.exportFile(3, "Work")));
    }

    void selectionOfTheBeginningIsExported()
    {
        StateSetup setup;
        setup.addChat(1, "Team");
        setup.addChat(2, "Family");
        AppState& state = setup.open();
        setup.select({1});
        setup.contacts->hold();
        state.syncNow();
        setup.select({2});
        setup.contacts->release();
        QVERIFY(setup.waitForExport());
        QVERIFY(fs::exists(setup.exportFile(1, "Team")));
        QVERIFY(!fs::exists(setup.exportFile(2, "Family")));
    }

    void secondCallDuringARunDoesNothing()
    {
        StateSetup setup;
        setup.addChat(1, "Team");
        AppState& state = setup.open();
        setup.select({1});
        const Recorder recorder(state);
        HeldExport held(setup.files);
        setup.contacts->hold();
        state.syncNow();
        QVERIFY(state.isSyncing()); // before the call returns
        state.syncNow(); // while contacts are loaded
        setup.contacts->release();
        QTRY_VERIFY(held.isReached());
        QVERIFY(state.isSyncing());
        state.syncNow(); // while it exports
        setup.select({});
        state.syncNow(); // with nothing selected
        QCOMPARE(recorder.changes(), lines({"isSyncing: true", "selected: 0"}));
        held.release();
        QTRY_COMPARE(recorder.statuses(),
            lines({"Added 1 messages · " + StateSetup::timeText(), "1 chats · 0 selected"}));
        StateSetup::settle();
        QCOMPARE(recorder.count("isSyncing: true"), 1);
        QCOMPARE(setup.contacts->loads(), 2); // one of them at the start
        QCOMPARE(setup.files.rowIDs(1).size(), 1U);
    }

    void anotherRunMayBeginWhileTheChatsAreReadAfterTheFirst()
    {
        StateSetup setup;
        setup.addChat(1, "Team");
        AppState& state = setup.open();
        setup.select({1});
        const Recorder recorder(state);
        connect(&state, &AppState::statusChanged, &state, [&state] {
            if (state.status().starts_with("Added"))
                state.syncNow();
        });
        state.syncNow();
        QTRY_COMPARE(recorder.count("status: Up to date · " + StateSetup::timeText()), 1);
        QTRY_COMPARE(recorder.count("chats: 1"), 2);
        QCOMPARE(recorder.count("isSyncing: true"), 2);
        QCOMPARE(setup.files.rowIDs(1).size(), 1U);
    }

    void namesAreReadForEachRun()
    {
        StateSetup setup;
        setup.addChatWith(1, "+15550100");
        AppState& state = setup.open();
        setup.select({1});
        setup.contacts->add("+15550100", "Ann");
        QVERIFY(setup.sync());
        QCOMPARE(setup.files.record(1).title.value(), std::string("Ann"));
        QCOMPARE(state.titles().at(1), std::string("Ann")); // by the reload after the export
        setup.contacts->add("+15550100", "Anna");
        QVERIFY(setup.sync());
        QCOMPARE(setup.files.record(1).title.value(), std::string("Anna"));
        QCOMPARE(state.titles().at(1), std::string("Anna"));
        QCOMPARE(setup.contacts->loads(), 3);
    }

    void newFolderTakesEffectAtTheNextRun()
    {
        StateSetup setup;
        setup.addChat(1, "Team");
        AppState& state = setup.open();
        setup.select({1});
        const fs::path before = setup.exportFile(1, "Team");
        HeldExport held(setup.files);
        state.syncNow();
        QTRY_VERIFY(held.isReached());
        state.setOutputFolder(setup.files.db.folder() + "/elsewhere");
        held.release();
        QVERIFY(setup.waitForExport());
        QVERIFY(fs::exists(before));
        QVERIFY(!fs::exists(state.outputFolder()));
        QVERIFY(setup.sync());
        QCOMPARE(readFile(setup.exportFile(1, "Team")), readFile(before));
    }

    void folderIsThatOfTheMomentWhenTheNamesAreRead()
    {
        StateSetup setup;
        setup.addChat(1, "Team");
        AppState& state = setup.open();
        setup.select({1});
        setup.contacts->hold();
        state.syncNow();
        state.setOutputFolder(setup.files.db.folder() + "/elsewhere");
        setup.contacts->release();
        QVERIFY(setup.waitForExport());
        QVERIFY(fs::exists(setup.exportFile(1, "Team")));
        QVERIFY(!fs::exists(setup.files.folder()));
    }

    void newChatsShowAfterARun()
    {
        StateSetup setup;
        setup.addChat(1, "Team");
        AppState& state = setup.open();
        setup.select({1});
        setup.addChat(2, "Family");
        QVERIFY(setup.sync());
        QCOMPARE(state.chats().size(), 2U);
        QCOMPARE(state.titles().at(2), std::string("Family"));
    }

private:
    static constexpr auto atLeastOne = "Select at least one chat";
};

QTEST_GUILESS_MAIN(SyncNowTest)
#include "SyncNowTest.moc"
