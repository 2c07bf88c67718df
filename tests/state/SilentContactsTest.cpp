#include "state/Settings.h"
#include "state/StateSetup.h"
#include "support/Printing.h"

#include <QElapsedTimer>
#include <QtTest/QTest>

using namespace korvane;

namespace fs = std::filesystem;

/// Contacts that do not answer, or that the user has yet to allow.
class SilentContactsTest : public QObject {
    Q_OBJECT

private slots:
    void untilTheContactsHaveBeenReadNothingIsExported()
    {
        StateSetup setup;
        addAnn(setup);
        setup.contacts->silence();
        const AppState& state = setup.open();
        QCOMPARE(state.status(), std::string(nothing));
        QCOMPARE(state.titles().at(1), std::string(number));
        setup.select({1});
        const Recorder recorder(state);
        setup.state().syncNow();
        QVERIFY(state.isSyncing());
        QTRY_COMPARE(
            recorder.changes(), lines({"isSyncing: true", "isSyncing: false", "chats: 1"}));
        QCOMPARE(state.status(), std::string(nothing));
        QVERIFY(!fs::exists(setup.files.folder()));
        QVERIFY(!fs::exists(setup.files.stateFile()));
    }

    void namesThatCanBeReadAreShownMeanwhile()
    {
        StateSetup setup;
        addAnn(setup);
        setup.contacts->silence({.map = {{ContactNames::normalize(number), "Ann"}}});
        QCOMPARE(setup.open().titles().at(1), std::string("Ann"));
        QCOMPARE(setup.state().status(), std::string(nothing));
    }

    void exportFollowsByItselfWhenTheContactsAnswer()
    {
        StateSetup setup;
        addAnn(setup);
        setup.contacts->silence();
        setup.environment.autoSyncInterval = std::chrono::milliseconds(20);
        setup.open();
        setup.select({1});
        const int loads = setup.contacts->loads();
        QTRY_VERIFY(setup.contacts->loads() > loads + 2);
        QVERIFY(!fs::exists(setup.files.folder()));
        setup.contacts->answer();
        QTRY_COMPARE(rowIDsIn(readFile(setup.exportFile(1, "Ann"))).size(), 1U);
    }

    void namesComeByThemselvesWithNothingToExport()
    {
        StateSetup setup;
        addAnn(setup);
        setup.contacts->silence();
        setup.environment.autoSyncInterval = std::chrono::milliseconds(20);
        const AppState& state = setup.open();
        setup.contacts->answer();
        QTRY_COMPARE(state.status(), std::string("1 chats · 0 selected"));
        QCOMPARE(state.titles().at(1), std::string("Ann"));
        const int loads = setup.contacts->loads();
        StateSetup::settle();
        QCOMPARE(setup.contacts->loads(), loads); // no longer needed
    }

    void reloadReadsTheNamesThatAreStillMissing()
    {
        StateSetup setup;
        addAnn(setup);
        setup.contacts->silence();
        AppState& state = setup.open();
        setup.contacts->answer();
        state.reloadChats();
        QTRY_COMPARE(state.status(), std::string("1 chats · 0 selected"));
        QCOMPARE(state.titles().at(1), std::string("Ann"));
    }

    /// The contacts are silent during one run: no file is written anew.
    void exportGoesOnWithTheNamesThatItHas()
    {
        StateSetup setup;
        addAnn(setup);
        setup.open();
        setup.select({1});
        QVERIFY(setup.sync());
        const ChatState before = setup.files.record(1);

        setup.contacts->silence();
        setup.files.addMessages(1, 1);
        QVERIFY(setup.sync());
        QCOMPARE(setup.state().titles().at(1), std::string("Ann"));
        setup.contacts->answer();
        setup.files.addMessages(1, 1);
        QVERIFY(setup.sync());

        QCOMPARE(setup.files.record(1).epoch, before.epoch);
        QCOMPARE(setup.files.record(1).fileName, before.fileName);
        QCOMPARE(setup.files.rowIDs(1), (std::vector<std::int64_t>{1, 2, 3}));
        QCOMPARE(std::distance(fs::directory_iterator(setup.files.folder()), {}), 1);
    }

    void transferNeedsNames()
    {
        StateSetup setup;
        addAnn(setup);
        setup.contacts->silence();
        AppState& state = setup.open();
        setup.select({1});
        state.prepareTransfer();
        QVERIFY(setup.waitForExport());
        QTRY_COMPARE(state.status(), std::string(nothing));
        QVERIFY(!state.transferChatTitle());
        QVERIFY(!fs::exists(setup.files.folder()));
        setup.contacts->answer();
        state.prepareTransfer();
        QTRY_VERIFY(state.transferQR());
    }

    void promptIsShownAndAwaited()
    {
        StateSetup setup;
        addAnn(setup);
        setup.contacts->ask();
        const AppState& state = setup.create();
        QTRY_COMPARE(state.status(), std::string(waiting));
        StateSetup::settle();
        QCOMPARE(state.status(), std::string(waiting));
        setup.contacts->release();
        QTRY_COMPARE(state.status(), std::string("1 chats · 0 selected"));
        QCOMPARE(state.titles().at(1), std::string("Ann"));
    }

    void openPromptDoesNotKeepTheProgramFromEnding()
    {
        StateSetup setup;
        addAnn(setup);
        setup.contacts->ask();
        AppState& state = setup.create();
        QTRY_COMPARE(state.status(), std::string(waiting));
        QElapsedTimer time;
        time.start();
        state.interruptExport();
        QVERIFY2(time.elapsed() < 2000, qPrintable(QString::number(time.elapsed())));
        setup.close();
        QVERIFY2(time.elapsed() < 4000, qPrintable(QString::number(time.elapsed())));
    }

private:
    static constexpr auto number = "+15550100";
    static constexpr auto nothing = "Nothing is exported until your contacts can be read: the "
                                    "test's address book does not answer";
    static constexpr auto waiting = "Waiting for your answer: may Korvane Sync read your contacts?";

    static void addAnn(StateSetup& setup)
    {
        setup.addChatWith(1, number);
        setup.contacts->add(number, "Ann");
    }
};

QTEST_GUILESS_MAIN(SilentContactsTest)
#include "SilentContactsTest.moc"
