#include "state/Settings.h"
#include "state/StateSetup.h"
#include "support/Printing.h"

#include <QtTest/QTest>

using namespace korvane;

/// From construction to the first list of chats.
class StartTest : public QObject {
    Q_OBJECT

private slots:
    void newStateHasReadNothingYet()
    {
        StateSetup setup;
        setup.addChat(1, "Team");
        const AppState& state = setup.create();
        QCOMPARE(state.status(), std::string("Loading chats…"));
        QVERIFY(state.chats().empty());
        QVERIFY(state.titles().empty());
        QVERIFY(!state.needsAccess());
        QVERIFY(!state.isSyncing());
        QVERIFY(!state.transferQR());
        QVERIFY(!state.transferChatTitle());
        QCOMPARE(setup.contacts->loads(), 0);
    }

    void pairingIsMadeAndNothingElse()
    {
        StateSetup setup;
        setup.addChat(1, "Team");
        setup.open();
        std::vector<std::string> files;
        for (const auto& entry : std::filesystem::directory_iterator(setup.files.home()))
            files.push_back(entry.path().filename());
        QCOMPARE(files, std::vector<std::string>{"pairing.json"});
        QVERIFY(!std::filesystem::exists(setup.files.folder()));
    }

    void chatsAreReadOnceTheNamesAreThere()
    {
        StateSetup setup;
        setup.addChatWith(1, "+15550100");
        setup.contacts->add("+15550100", "Ann");
        setup.contacts->hold();
        const AppState& state = setup.create();
        const Recorder recorder(state);
        QTRY_COMPARE(setup.contacts->loads(), 1);
        StateSetup::settle();
        QCOMPARE(recorder.changes(), std::string());
        setup.contacts->release();
        QTRY_COMPARE(recorder.changes(), lines({"chats: 1", "status: 1 chats · 0 selected"}));
        QCOMPARE(state.titles().at(1), std::string("Ann"));
        QCOMPARE(setup.contacts->loads(), 1);
    }

    void chatsAreListedTheNewestFirst()
    {
        StateSetup setup;
        setup.addChat(3, "Oldest");
        setup.addChat(1, "Middle");
        setup.addChatWith(2, "+15550100");
        const AppState& state = setup.open();
        QCOMPARE(state.chats().size(), 3U);
        QCOMPARE(state.chats()[0].id, 2);
        QCOMPARE(state.chats()[1].id, 1);
        QCOMPARE(state.chats()[2].id, 3);
        QVERIFY(
            state.titles() == (AppState::Titles{{1, "Middle"}, {2, "+15550100"}, {3, "Oldest"}}));
    }

    void titlesAreThoseOfTheNewChatsWhenTheyAreTold()
    {
        StateSetup setup;
        setup.addChat(1, "Team");
        const AppState& state = setup.create();
        std::string title;
        connect(&state, &AppState::chatsChanged, &state,
            [&] { title = state.titles().at(state.chats().at(0).id); });
        QTRY_COMPARE(title, std::string("Team"));
    }

    void statusCountsChatsAndSelection_data()
    {
        QTest::addColumn<int>("chats");
        QTest::addColumn<int>("selected");
        QTest::addColumn<std::string>("status");
        QTest::newRow("none of none") << 0 << 0 << std::string("0 chats · 0 selected");
        QTest::newRow("one of one") << 1 << 1 << std::string("1 chats · 1 selected");
        QTest::newRow("two of twelve") << 12 << 2 << std::string("12 chats · 2 selected");
        QTest::newRow("some that are gone") << 2 << 5 << std::string("2 chats · 5 selected");
        QTest::newRow("all are gone") << 0 << 1 << std::string("0 chats · 1 selected");
        QTest::newRow("a thousand") << 1000 << 0 << std::string("1000 chats · 0 selected");
    }

    void statusCountsChatsAndSelection()
    {
        QFETCH(const int, chats);
        QFETCH(const int, selected);
        QFETCH(const std::string, status);
        StateSetup setup;
        setup.files.db.sql().execute("BEGIN");
        for (int id = 1; id <= chats; ++id) {
            setup.files.addChat(id, "Chat");
            setup.files.db.addMessage(id, "hello");
        }
        setup.files.db.sql().execute("COMMIT");
        AppState& state = setup.create();
        std::set<std::string> guids;
        for (int id = 1; id <= selected; ++id)
            guids.insert(StateSetup::guid(id));
        state.setSelected(guids);
        QTRY_COMPARE(state.status(), status);
        QVERIFY(state.selected() == guids); // guids of missing chats stay
        QVERIFY(Settings().selected() == guids);
    }

    void chatWithoutMessagesIsNotListed()
    {
        StateSetup setup;
        setup.addChat(1, "Team");
        setup.addChat(2, "Silent", 0);
        QCOMPARE(setup.open().status(), std::string("1 chats · 0 selected"));
    }

    void reloadShowsWhatIsNewAndWhatIsGone()
    {
        StateSetup setup;
        setup.addChat(1, "Team");
        AppState& state = setup.open();
        setup.files.db.sql().execute("DELETE FROM chat");
        setup.addChat(2, "Others");
        setup.addChat(3, "More");
        const Recorder recorder(state);
        state.reloadChats();
        QTRY_COMPARE(recorder.changes(), lines({"chats: 2", "status: 2 chats · 0 selected"}));
        QVERIFY(state.titles() == (AppState::Titles{{2, "Others"}, {3, "More"}}));
    }

    void reloadKeepsTheNames()
    {
        StateSetup setup;
        setup.addChatWith(1, "+15550100");
        AppState& state = setup.open();
        setup.contacts->add("+15550100", "Ann");
        const Recorder recorder(state);
        state.reloadChats();
        QTRY_COMPARE(recorder.count("chats: 1"), 1);
        QCOMPARE(setup.contacts->loads(), 1);
        QCOMPARE(state.titles().at(1), std::string("+15550100"));
    }

    void selectingLeavesTheStatusUntilTheNextReload()
    {
        StateSetup setup;
        setup.addChat(1, "Team");
        AppState& state = setup.open();
        state.toggle(StateSetup::guid(1));
        QCOMPARE(state.status(), std::string("1 chats · 0 selected"));
        state.reloadChats();
        QTRY_COMPARE(state.status(), std::string("1 chats · 1 selected"));
    }
};

QTEST_GUILESS_MAIN(StartTest)
#include "StartTest.moc"
