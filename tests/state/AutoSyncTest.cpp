#include "state/Settings.h"
#include "state/StateSetup.h"
#include "support/Printing.h"

#include <QElapsedTimer>
#include <QtTest/QTest>

using namespace korvane;

namespace fs = std::filesystem;

/// Auto-sync: exports started by a timer. A short interval keeps the tests fast.
class AutoSyncTest : public QObject {
    Q_OBJECT

private slots:
    void newMessagesArriveInTheFileByThemselves()
    {
        StateSetup setup;
        setup.addChat(1, "Team");
        opened(setup);
        const fs::path file = setup.exportFile(1, "Team");
        QTRY_COMPARE(rowIDsIn(readFile(file)), (std::vector<std::int64_t>{1}));
        setup.files.addMessages(1, 2);
        QTRY_COMPARE(rowIDsIn(readFile(file)), (std::vector<std::int64_t>{1, 2, 3}));
        setup.files.addMessages(1, 1);
        QTRY_COMPARE(rowIDsIn(readFile(file)), (std::vector<std::int64_t>{1, 2, 3, 4}));
    }

    void passesGoOnWithNothingNew()
    {
        StateSetup setup;
        setup.addChat(1, "Team");
        const Recorder recorder(opened(setup));
        QTRY_VERIFY(recorder.count("status: Up to date · " + StateSetup::timeText()) >= 3);
        QCOMPARE(recorder.count("status: Added 1 messages · " + StateSetup::timeText()), 1);
        QCOMPARE(setup.files.rowIDs(1).size(), 1U);
    }

    void switchedOffItSkipsThePasses()
    {
        StateSetup setup;
        setup.addChat(1, "Team");
        setup.create().setAutoSync(false);
        AppState& state = opened(setup);
        const Recorder recorder(state);
        StateSetup::settle();
        QCOMPARE(recorder.changes(), std::string());
        QCOMPARE(setup.contacts->loads(), 1); // the one at the start
        state.setAutoSync(true);
        QTRY_VERIFY(fs::exists(setup.exportFile(1, "Team")));
    }

    void switchingItOffStopsNothingThatRuns()
    {
        StateSetup setup;
        setup.addChat(1, "Team");
        AppState& state = opened(setup);
        const Recorder recorder(state);
        HeldExport held(setup.files);
        QTRY_VERIFY(held.isReached());
        state.setAutoSync(false);
        QVERIFY(state.isSyncing());
        held.release();
        QTRY_COMPARE(recorder.count("chats: 1"), 1);
        QCOMPARE(recorder.count("status: Added 1 messages · " + StateSetup::timeText()), 1);
        StateSetup::settle();
        QCOMPARE(recorder.count("isSyncing: true"), 1);
    }

    void switchingItOnWaitsForTheNextPass()
    {
        StateSetup setup;
        setup.addChat(1, "Team");
        setup.create().setAutoSync(false);
        AppState& state = opened(setup, std::chrono::hours(1));
        state.setAutoSync(true);
        QVERIFY(!state.isSyncing());
        StateSetup::settle();
        QVERIFY(!fs::exists(setup.files.folder()));
        QCOMPARE(setup.contacts->loads(), 1);
    }

    void emptySelectionSkipsThePasses()
    {
        StateSetup setup;
        setup.addChat(1, "Team");
        AppState& state = opened(setup);
        state.setSelected({});
        QVERIFY(setup.waitForExport());
        const Recorder recorder(state);
        StateSetup::settle();
        QCOMPARE(recorder.changes(), std::string()); // no status either
        setup.select({1});
        QTRY_VERIFY(fs::exists(setup.exportFile(1, "Team")));
    }

    void selectionOfChatsThatAreGoneIsTold()
    {
        StateSetup setup;
        AppState& state = opened(setup);
        QTRY_COMPARE(state.status(), std::string("Select at least one chat"));
        setup.addChat(1, "Team");
        StateSetup::settle();
        QCOMPARE(setup.contacts->loads(), 1);
        state.reloadChats(); // auto-sync is still running
        QTRY_VERIFY(fs::exists(setup.exportFile(1, "Team")));
    }

    void missingAccessSkipsThePassesUntilAReloadFindsIt()
    {
        StateSetup setup;
        setup.addChat(1, "Team");
        AppState& state = opened(setup);
        const std::string database = setup.files.db.path();
        fs::rename(database, database + ".aside");
        QTRY_VERIFY(state.needsAccess()); // noticed by an auto-sync pass
        const int loads = setup.contacts->loads();
        const Recorder recorder(state);
        fs::rename(database + ".aside", database);
        StateSetup::settle();
        QCOMPARE(recorder.changes(), std::string());
        QCOMPARE(setup.contacts->loads(), loads);
        setup.files.addMessages(1, 1);
        state.reloadChats();
        QTRY_VERIFY(fs::exists(setup.exportFile(1, "Team")));
        QTRY_COMPARE(rowIDsIn(readFile(setup.exportFile(1, "Team"))).size(), 2U);
    }

    void passesDuringARunDoNothing()
    {
        StateSetup setup;
        setup.addChat(1, "Team");
        setup.create().setAutoSync(false);
        AppState& state = opened(setup);
        const Recorder recorder(state);
        HeldExport held(setup.files);
        state.syncNow();
        QTRY_VERIFY(held.isReached());
        state.setAutoSync(true);
        StateSetup::settle(); // passes come due during the run
        QCOMPARE(recorder.changes(), lines({"isSyncing: true", "autoSync: true"}));
        held.release();
        QTRY_VERIFY(recorder.count("isSyncing: true") >= 3); // and resume after it
        QCOMPARE(setup.contacts->mostAtOnce(), 1U);
        QCOMPARE(setup.files.rowIDs(1).size(), 1U);
    }

    void nothingHappensBeforeTheFirstInterval()
    {
        StateSetup setup;
        setup.addChat(1, "Team");
        Settings().setSelected({StateSetup::guid(1)});
        setup.environment.autoSyncInterval = std::chrono::hours(1);
        const Recorder recorder(setup.open());
        StateSetup::settle();
        QCOMPARE(recorder.changes(), std::string());
    }

    void intervalCountsFromTheEndOfAPass()
    {
        StateSetup setup;
        setup.addChat(1, "Team");
        constexpr std::chrono::milliseconds every{200};
        const AppState& state = opened(setup, every);
        HeldExport held(setup.files);
        QTRY_VERIFY(held.isReached());
        QTest::qWait(static_cast<int>(every.count())); // the run outlasts the interval
        QElapsedTimer sinceTheEnd;
        qint64 pause = -1;
        connect(&state, &AppState::chatsChanged, &setup.state(), [&] { sinceTheEnd.start(); });
        connect(&state, &AppState::isSyncingChanged, &setup.state(), [&] {
            if (sinceTheEnd.isValid() && pause < 0)
                pause = sinceTheEnd.elapsed();
        });
        held.release();
        QTRY_VERIFY(pause >= 0);
        QVERIFY2(pause >= every.count() * 9 / 10,
            qPrintable(QString::number(pause))); // coarse timers may fire early
    }

private:
    static constexpr std::chrono::milliseconds interval{10};

    /// Opens a state that has read the chats, and selects chat 1. Auto-sync is as stored.
    static AppState& opened(StateSetup& setup, std::chrono::milliseconds every = interval)
    {
        setup.environment.autoSyncInterval = every;
        AppState& state = setup.open();
        setup.select({1});
        return state;
    }
};

QTEST_GUILESS_MAIN(AutoSyncTest)
#include "AutoSyncTest.moc"
