#include "export/ExportSetup.h"
#include "support/Printing.h"

using namespace std::string_literals;

namespace korvane {

namespace fs = std::filesystem;

/// One sync as a whole: its folder, its database, the order of the chats, and ending it early.
class SyncRunTest : public QObject {
    Q_OBJECT

private slots:
    void makesTheFolderWithItsParents()
    {
        ExportSetup setup;
        setup.addChat(1, "Team");
        setup.addMessages(1, 1);
        const fs::path deep = setup.folder() / "a b/ü/Quorvish";
        QCOMPARE(describe(Exporter::sync(setup.chats, {}, deep, setup.support(), setup.db.path())),
            "added 1, touched 1"s);
        QVERIFY(fs::exists(deep / "Team (1) Korvane Wrapped.jsonl.txt"));
    }

    void takesAFolderInAnyForm_data()
    {
        QTest::addColumn<std::string>("form");
        QTest::newRow("with a slash at its end") << "real/"s;
        QTest::newRow("with two") << "real//"s;
        QTest::newRow("with dots") << "real/../real/."s;
        QTest::newRow("new, with a slash at its end") << "new/"s;
        QTest::newRow("a link") << "link"s;
    }

    void takesAFolderInAnyForm()
    {
        QFETCH(std::string, form);
        ExportSetup setup;
        setup.addChat(1, "Team");
        setup.addMessages(1, 1);
        fs::create_directories(setup.folder() / "real");
        fs::create_directory_symlink("real", setup.folder() / "link");
        const fs::path folder = setup.folder() / form;
        QCOMPARE(
            describe(Exporter::sync(setup.chats, {}, folder, setup.support(), setup.db.path())),
            "added 1, touched 1"s);
        QVERIFY(fs::exists(folder / "Team (1) Korvane Wrapped.jsonl.txt"));
    }

    void leavesOtherFilesInTheFolderAlone()
    {
        ExportSetup setup;
        setup.addChat(1, "Team");
        setup.addMessages(1, 1);
        fs::create_directories(setup.folder());
        writeFile(setup.folder() / "Team (2) Korvane Wrapped.jsonl.txt", "of another");
        writeFile(setup.folder() / "notes.txt", "mine");
        setup.sync();
        QCOMPARE(readFile(setup.folder() / "Team (2) Korvane Wrapped.jsonl.txt"), "of another"s);
        QCOMPARE(readFile(setup.folder() / "notes.txt"), "mine"s);
        const auto files = fs::directory_iterator(setup.folder());
        QCOMPARE(std::distance(begin(files), end(files)), 3);
    }

    void takesTheChatsInTheOrderGiven()
    {
        ExportSetup setup;
        for (const int id : {3, 1, 2})
            setup.addChat(id, "Chat");
        std::vector<std::int64_t> seen;
        setup.sync([&seen](const ChatInfo& chat) {
            seen.push_back(chat.id);
            return true;
        });
        QCOMPARE(seen, (std::vector<std::int64_t>{3, 1, 2}));
    }

    void endsEarlyWithItsProgressSaved()
    {
        ExportSetup setup;
        for (const int id : {1, 2, 3}) {
            setup.addChat(id, "Chat");
            setup.addMessages(id, 2);
        }
        const auto result = setup.sync([](const ChatInfo& chat) { return chat.id != 2; });
        QCOMPARE(describe(result), "added 2, touched 1"s);
        QCOMPARE(setup.record(1).lastRowID, 2);
        QCOMPARE(ExportState::load(setup.support()).chats.size(), 1U);
        const auto files = fs::directory_iterator(setup.folder());
        QCOMPARE(std::distance(begin(files), end(files)), 1);
    }

    void endedBeforeTheFirstChatItStillSaves()
    {
        ExportSetup setup;
        setup.addChat(1, "Team");
        QVERIFY(setup.sync([](const ChatInfo&) { return false; }) == SyncResult());
        QCOMPARE(readFile(setup.stateFile()), R"({"chats":{}})"s);
    }

    void goesOnAfterAnEarlyEnd()
    {
        ExportSetup setup;
        for (const int id : {1, 2}) {
            setup.addChat(id, "Chat");
            setup.addMessages(id, 2);
        }
        setup.sync([](const ChatInfo& chat) { return chat.id == 1; });
        QCOMPARE(describe(setup.sync()), "added 2, touched 1"s);
        QCOMPARE(setup.rowIDs(1), (std::vector<std::int64_t>{1, 2}));
        QCOMPARE(setup.rowIDs(2), (std::vector<std::int64_t>{3, 4}));
    }

    void readsMessagesThatAreOnlyInTheWriteAheadLog()
    {
        ExportSetup setup;
        setup.db.sql().execute("PRAGMA journal_mode = WAL; PRAGMA wal_autocheckpoint = 0");
        setup.addChat(1, "Team");
        setup.db.sql().execute("PRAGMA wal_checkpoint(TRUNCATE)");
        const std::string main = readFile(setup.db.path());
        setup.addMessages(1, 2, "only in the log");
        QCOMPARE(readFile(setup.db.path()), main);
        QCOMPARE(describe(setup.sync()), "added 2, touched 1"s);
        setup.addMessages(1, 1);
        QCOMPARE(describe(setup.sync()), "added 1, touched 1"s);
        QCOMPARE(setup.rowIDs(1), (std::vector<std::int64_t>{1, 2, 3}));
    }

    void neverWritesToTheDatabase()
    {
        ExportSetup setup;
        setup.addChat(1, "Team");
        setup.addMessages(1, 2);
        const std::string bytes = readFile(setup.db.path());
        const auto time = fs::last_write_time(setup.db.path());
        setup.sync();
        QVERIFY(readFile(setup.db.path()) == bytes);
        QVERIFY(fs::last_write_time(setup.db.path()) == time);
        QVERIFY(!fs::exists(setup.db.path() + "-journal"));
        QVERIFY(!fs::exists(setup.db.path() + "-wal"));
    }

    void keepsNothingBetweenRuns()
    {
        ExportSetup first;
        first.addChat(1, "Team");
        first.addMessages(1, 2);
        first.sync();
        {
            ExportSetup second;
            second.addChat(1, "Team");
            second.addMessages(1, 3);
            QCOMPARE(describe(second.sync()), "added 3, touched 1"s);
        }
        QCOMPARE(describe(first.sync()), "added 0, touched 0"s);
    }
};

} // namespace korvane

QTEST_APPLESS_MAIN(korvane::SyncRunTest)
#include "SyncRunTest.moc"
