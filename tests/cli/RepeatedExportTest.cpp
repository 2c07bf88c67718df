#include "Terminal.h"

#include "messages/Sqlite.h"
#include "support/Printing.h"
#include "support/StatementWatch.h"
#include "support/TestDatabase.h"

#include <QtTest/QTest>

#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <functional>
#include <thread>

using namespace korvane;

using namespace std::chrono_literals;

/// `export --every`: what a run takes over from the one before it.
class RepeatedExportTest : public QObject {
    Q_OBJECT

private slots:
    void initTestCase() { Sqlite::configureProcess(); }

    void unchangedDatabaseIsListedOnce()
    {
        const Scene scene;
        std::this_thread::sleep_for(untilTimesAreTrusted);
        int listed = 0;
        const Outcome outcome
            = scene.exportUntil("--all", [&] { listed = StatementWatch::runs(list); });
        QCOMPARE(listed, 1);
        QCOMPARE(outcome.code, 0);
        QCOMPARE(outcome.err, std::string());
        QVERIFY2(outcome.out.starts_with("Added 2 messages to 2 chats in "
                     + scene.terminal.exports() + "\nNothing new.\nNothing new.\n"),
            outcome.out.c_str());
    }

    void newChatIsListedAndExported()
    {
        Scene scene;
        const Outcome outcome = scene.exportUntil("--all", [&] {
            scene.database.addChat(3, "chat;3", "Neighbours");
            scene.database.addMessage(3, "new here");
            QVERIFY(comes([] { return StatementWatch::runs(list) > 1; }));
        });
        QVERIFY2(outcome.out.find("\nAdded 1 message to 1 chat in ") != std::string::npos,
            outcome.out.c_str());
        QCOMPARE(filesIn(scene.terminal.exports()).size(), 3U);
    }

    void deletedFileIsWrittenAgain()
    {
        const Scene scene;
        std::this_thread::sleep_for(untilTimesAreTrusted);
        const auto exported = [&] { return filesIn(scene.terminal.exports()); };
        const Outcome outcome = scene.exportUntil("--all", [&] {
            std::filesystem::remove(scene.terminal.exports() + '/' + exported().front());
            QVERIFY(comes([&] { return exported().size() == 2; }));
            QCOMPARE(StatementWatch::runs(list), 1);
        });
        QVERIFY2(outcome.out.find("\nAdded 1 message to 1 chat in ") != std::string::npos,
            outcome.out.c_str());
    }

    void unknownChatIsAnErrorOfEachRun()
    {
        const Scene scene;
        std::this_thread::sleep_for(untilTimesAreTrusted);
        const Outcome outcome = scene.exportUntil("--chat=chat;9", [] {});
        QCOMPARE(outcome.code, 1);
        const std::string error = "korvane-sync: There is no chat with the guid chat;9.\n";
        QVERIFY2(outcome.err.starts_with(error + error + error), outcome.err.c_str());
    }

private:
    static constexpr auto untilTimesAreTrusted = 2100ms; ///< after a write
    static constexpr const char* list = "SELECT c.ROWID, c.guid";
    static constexpr const char* probe = "SELECT 1 FROM message LIMIT 1";

    /// A database with two chats, and a terminal.
    struct Scene {
        StatementWatch watch;
        Terminal terminal;
        TestDatabase database;

        Scene()
        {
            database.sql().execute("PRAGMA journal_mode = WAL"); // readers do not block a writer
            database.addHandle(1, "+12025550178");
            database.addChat(1, "chat;1", "Team");
            database.addChat(2, "chat;2", "Family");
            database.addMessage(1, "hello");
            database.addMessage(2, "hello");
        }

        /// Exports again and again. After a few runs, performs `action`; after a few more, presses
        /// Ctrl-C.
        Outcome exportUntil(const std::string& which, const std::function<void()>& action) const
        {
            std::thread user([&] {
                awaitRuns();
                action();
                awaitRuns();
                ::kill(::getpid(), SIGINT);
            });
            Outcome outcome = terminal.run({"export", which, "--every", "0.02", "--contacts",
                "none", "--database", database.path(), "--folder", terminal.exports()});
            user.join();
            return outcome;
        }

        static void awaitRuns()
        {
            constexpr int probesOfSomeRuns = 10; // each run opens the database twice
            const int before = StatementWatch::runs(probe);
            comes([&] { return StatementWatch::runs(probe) > before + probesOfSomeRuns; });
        }
    };

    static bool comes(const std::function<bool()>& what)
    {
        for (int i = 0; i < 1000 && !what(); ++i)
            std::this_thread::sleep_for(10ms);
        return what();
    }
};

QTEST_GUILESS_MAIN(RepeatedExportTest)
#include "RepeatedExportTest.moc"
