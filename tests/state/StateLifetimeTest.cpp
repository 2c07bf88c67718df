#include "sample/SampleDatabase.h"
#include "state/Settings.h"
#include "state/StateSetup.h"
#include "support/Printing.h"

#include <QElapsedTimer>
#include <QtTest/QTest>

#include <functional>
#include <thread>

using namespace korvane;

namespace fs = std::filesystem;

using namespace std::chrono_literals;

/// Brings a state to the point where the test destroys it; returns whether it got there.
using Approach = std::function<bool(StateSetup&)>;
Q_DECLARE_METATYPE(Approach)

/// States that are destroyed in the middle of an operation.
class StateLifetimeTest : public QObject {
    Q_OBJECT

private slots:
    void stateIsDestroyedAtThisPoint_data()
    {
        QTest::addColumn<int>("rounds");
        QTest::addColumn<Approach>("approach");
        QTest::newRow("at once") << 1000 << Approach([](StateSetup&) { return true; });
        QTest::newRow("while names are read") << 300 << Approach([](StateSetup& setup) {
            const int before = setup.contacts->loads();
            return comes([&] { return setup.contacts->loads() > before; });
        });
        QTest::newRow("with the chats read") << 200 << Approach(hasChats);
        QTest::newRow("while chats are read again") << 300 << Approach([](StateSetup& setup) {
            const bool came = hasChats(setup);
            setup.state().reloadChats();
            return came;
        });
        QTest::newRow("as an export begins") << 100 << Approach([](StateSetup& setup) {
            const bool came = hasChats(setup);
            if (setup.state().selected().empty())
                setup.select({1, 2});
            setup.state().syncNow();
            return came && setup.state().isSyncing();
        });
        QTest::newRow("as a transfer begins") << 100 << Approach(prepares);
        QTest::newRow("while a transfer exports") << 100 << Approach([](StateSetup& setup) {
            return prepares(setup) && says(setup, "Preparing selected chat…");
        });
        QTest::newRow("while the server starts") << 100 << Approach([](StateSetup& setup) {
            return prepares(setup) && says(setup, "Starting secure local transfer…");
        });
        QTest::newRow("with the code up") << 50 << Approach([](StateSetup& setup) {
            return prepares(setup) && says(setup, "Ready to scan · link expires in 10 minutes");
        });
    }

    void stateIsDestroyedAtThisPoint()
    {
        QFETCH(const int, rounds);
        QFETCH(const Approach, approach);
        StateSetup setup;
        setup.addChat(1, "Team");
        setup.addChat(2, "Family");
        for (int round = 0; round < rounds; ++round) {
            setup.create();
            QVERIFY(approach(setup));
            setup.close();
            QCoreApplication::processEvents(); // events left in the queue
        }
        QVERIFY(hasChats((setup.create(), setup))); // nothing blocks a new state
    }

    void stateIsDestroyedAtAnyMoment()
    {
        constexpr int rounds = 400;
        StateSetup setup;
        setup.addChat(1, "Team");
        setup.addChat(2, "Family");
        setup.environment.autoSyncInterval = 0ms;
        setup.environment.loadNames = [contacts = setup.contacts](const AccessPrompt&) {
            std::this_thread::sleep_for(50us);
            return contacts->load();
        };
        Settings().setSelected({StateSetup::guid(1)});
        Settings().setFolder(setup.files.folder());
        for (int round = 0; round < rounds; ++round) {
            AppState& state = setup.create();
            handleEventsFor(std::chrono::microseconds(round * 5));
            state.prepareTransfer(); // takes effect if the chats are there
            handleEventsFor(std::chrono::microseconds(round % 97 * 20));
            setup.close();
        }
        QCOMPARE(setup.files.rowIDs(1).size(), 1U); // never written twice
    }

    void destroyedAtOnceItDoesNothing()
    {
        StateSetup setup;
        setup.addChat(1, "Team");
        setup.create();
        setup.close();
        StateSetup::settle();
        QCOMPARE(setup.contacts->loads(), 0);
    }

    void serverEndsWithTheState()
    {
        StateSetup setup;
        setup.addChat(1, "Team");
        setup.create();
        QVERIFY(prepares(setup));
        QVERIFY(says(setup, "Ready to scan · link expires in 10 minutes"));
        setup.close();
        setup.create(); // it can take the lock again
        QVERIFY(prepares(setup));
        QVERIFY(says(setup, "Ready to scan · link expires in 10 minutes"));
    }

    void exportEndsAfterTheChatAtHandWithItsProgressKept()
    {
        StateSetup setup;
        constexpr std::int64_t chats = 300;
        setup.environment.database = setup.files.db.folder() + "/sample.db";
        writeSampleDatabase(setup.environment.database, {.messages = 30'000, .chats = chats});
        AppState& state = setup.open();
        std::set<std::string> guids;
        for (const ChatInfo& chat : state.chats())
            guids.insert(chat.guid);
        state.setSelected(guids);
        state.syncNow();
        QVERIFY(comes([&] { return fs::exists(setup.files.folder()); })); // the export has begun
        setup.close();
        const std::size_t exported = ExportState::load(setup.files.support()).chats.size();
        QVERIFY2(exported < guids.size(), qPrintable(QString::number(exported)));

        setup.create();
        QVERIFY(hasChats(setup));
        QVERIFY(setup.sync());
        const ExportState whole = ExportState::load(setup.files.support());
        QCOMPARE(whole.chats.size(), guids.size());
        for (const auto& [guid, record] : whole.chats) { // no row is there twice
            const auto ids = rowIDsIn(readFile(setup.files.folder() / record.fileName));
            QCOMPARE(std::set(ids.begin(), ids.end()).size(), ids.size());
        }
    }

    void largeChatIsWaitedFor()
    {
        StateSetup setup;
        setup.environment.database = setup.files.db.folder() + "/sample.db";
        writeSampleDatabase(setup.environment.database, {.messages = 20'000, .chats = 1});
        for (int round = 0; round < 4; ++round) {
            AppState& state = setup.open();
            state.setSelected({state.chats().at(0).guid});
            state.syncNow();
            handleEventsFor(std::chrono::milliseconds(round * 10));
            setup.close();
            const ExportState done = ExportState::load(setup.files.support());
            if (done.chats.empty())
                continue; // ended before the chat began
            const auto& record = done.chats.begin()->second;
            const auto ids = rowIDsIn(readFile(setup.files.folder() / record.fileName));
            QCOMPARE(static_cast<std::int64_t>(ids.size()), record.messages.value());
            QCOMPARE(std::set(ids.begin(), ids.end()).size(), ids.size());
            fs::remove(setup.files.stateFile());
            fs::remove_all(setup.files.folder());
        }
    }

private:
    static void handleEventsFor(std::chrono::microseconds time)
    {
        QElapsedTimer since;
        since.start();
        while (since.nsecsElapsed() < std::chrono::nanoseconds(time).count())
            QCoreApplication::processEvents();
    }

    /// Waits up to 5 s for the condition, in steps of 20 µs. Those of QTest::qWaitFor() take 10 ms.
    static bool comes(const std::function<bool()>& what)
    {
        QElapsedTimer since;
        since.start();
        while (!what() && !since.hasExpired(5000)) {
            QCoreApplication::processEvents();
            std::this_thread::sleep_for(20us);
        }
        return what();
    }

    static bool hasChats(StateSetup& setup)
    {
        return comes([&] { return setup.state().status() != "Loading chats…"; });
    }

    static bool prepares(StateSetup& setup)
    {
        if (!hasChats(setup))
            return false;
        if (setup.state().selected().empty()) // stored once: storing is slow
            setup.select({1});
        setup.state().prepareTransfer();
        return setup.state().isSyncing();
    }

    /// Listens to the signal: one round of the event loop may set two statuses.
    static bool says(StateSetup& setup, const std::string& status)
    {
        const AppState& state = setup.state();
        bool isSaid = state.status() == status;
        const auto listening = QObject::connect(
            &state, &AppState::statusChanged, [&] { isSaid = isSaid || state.status() == status; });
        comes([&] { return isSaid; });
        QObject::disconnect(listening);
        return isSaid;
    }
};

QTEST_GUILESS_MAIN(StateLifetimeTest)
#include "StateLifetimeTest.moc"
