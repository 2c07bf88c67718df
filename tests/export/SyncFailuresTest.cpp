#include "export/Child.h"
#include "export/ExportSetup.h"
#include "export/ExportStep.h"
#include "export/Journal.h"
#include "support/Printing.h"

#include <stdexcept>

using namespace std::string_literals;

namespace korvane {

namespace fs = std::filesystem;

namespace {

std::string reason(std::errc code)
{
    return std::make_error_code(code).message();
}

/// Grants an unprivileged child access to the set-up's folders and state.
void openToAll(const ExportSetup& setup)
{
    fs::permissions(setup.db.folder(), fs::perms(0755));
    fs::permissions(setup.home(), fs::perms(0777));
    if (fs::exists(setup.stateFile()))
        fs::permissions(setup.stateFile(), fs::perms(0666));
}

using Obstacle = void (*)(const fs::path& file);

} // namespace

/// Syncs in which something cannot be opened, created or written.
class SyncFailuresTest : public QObject {
    Q_OBJECT

private slots:
    void aDatabaseThatCannotBeOpenedEndsTheRun_data()
    {
        QTest::addColumn<std::string>("database");
        QTest::addColumn<std::string>("error");
        const auto cannotOpen = "Can't open the Messages database."s;
        const auto locked = "Messages database is locked by macOS privacy settings."s;
        QTest::newRow("missing") << "/nothing/chat.db"s << cannotOpen;
        QTest::newRow("a folder") << "folder"s << cannotOpen;
        QTest::newRow("not a database") << "text"s << locked;
        QTest::newRow("a database without messages") << "empty"s << locked;
    }

    void aDatabaseThatCannotBeOpenedEndsTheRun()
    {
        QFETCH(std::string, database);
        QFETCH(std::string, error);
        ExportSetup setup;
        setup.addChat(1, "Team");
        const fs::path there = setup.db.folder();
        fs::create_directories(there / "folder");
        writeFile(
            there / "text", "This is no database, but long enough for its header to be read.");
        Sqlite::openForWriting((there / "empty").native()).execute("CREATE TABLE chat (guid TEXT)");

        const auto sync = [&] {
            return Exporter::sync(setup.chats, {}, setup.folder(), setup.support(),
                (there / database).native(), [](const ChatInfo&) {
                    throw std::logic_error("no chat may be tried");
                    return true;
                });
        };
        QVERIFY(sync() == SyncResult{.errors = {error}});
        QVERIFY(!fs::exists(setup.folder()));
        QVERIFY(!fs::exists(setup.stateFile()));
        writeFile(setup.stateFile(), "old and broken");
        QVERIFY(sync() == SyncResult{.errors = {error}});
        QCOMPARE(readFile(setup.stateFile()), "old and broken"s);
    }

    void aFolderThatCannotBeMadeEndsTheRun_data()
    {
        QTest::addColumn<std::string>("folder");
        QTest::addColumn<std::string>("error");
        QTest::newRow("a file in the way") << "file"s << reason(std::errc::not_a_directory);
        QTest::newRow("a file further up") << "file/a/b"s << reason(std::errc::not_a_directory);
        QTest::newRow("a dangling link") << "link"s << reason(std::errc::file_exists);
        QTest::newRow("a name too long")
            << std::string(300, 'x') << reason(std::errc::filename_too_long);
    }

    void aFolderThatCannotBeMadeEndsTheRun()
    {
        QFETCH(std::string, folder);
        QFETCH(std::string, error);
        ExportSetup setup;
        setup.addChat(1, "Team");
        setup.addMessages(1, 1);
        const fs::path there = setup.db.folder();
        writeFile(there / "file", "mine");
        fs::create_symlink("nowhere", there / "link");
        writeFile(setup.stateFile(), "old and broken");
        const auto result
            = Exporter::sync(setup.chats, {}, there / folder, setup.support(), setup.db.path());
        QCOMPARE(describe(result), "added 0, touched 0; Can't create output folder: " + error);
        QCOMPARE(readFile(setup.stateFile()), "old and broken"s);
        QCOMPARE(readFile(there / "file"), "mine"s);
    }

    void theDatabaseIsTriedBeforeTheFolder()
    {
        const ExportSetup setup;
        writeFile(setup.folder(), "in the way");
        const auto result
            = Exporter::sync({}, {}, setup.folder(), setup.support(), "/nothing/chat.db");
        QCOMPARE(describe(result), "added 0, touched 0; Can't open the Messages database."s);
    }

    void aFileThatCannotBeWrittenKeepsNoOtherBack_data()
    {
        QTest::addColumn<Obstacle>("obstacle");
        QTest::addColumn<std::string>("error");
        QTest::newRow("a folder in its place")
            << Obstacle([](const fs::path& file) { fs::create_directories(file / "full"); })
            << reason(std::errc::is_a_directory);
        QTest::newRow("a full device in its place")
            << Obstacle([](const fs::path& file) { fs::create_symlink("/dev/full", file); })
            << reason(std::errc::no_space_on_device);
    }

    void aFileThatCannotBeWrittenKeepsNoOtherBack()
    {
        QFETCH(Obstacle, obstacle);
        QFETCH(std::string, error);
        ExportSetup setup;
        setup.addChat(1, "First");
        setup.addChat(2, "Team");
        setup.addChat(3, "Last");
        for (const int id : {1, 2, 3})
            setup.addMessages(id, 2);
        fs::create_directories(setup.folder());
        obstacle(setup.folder() / "Team (2) Korvane Wrapped.jsonl.txt");

        const std::string line = "Team: " + error;
        for (const char* added : {"added 4, touched 2; ", "added 0, touched 0; "}) {
            QCOMPARE(describe(setup.sync()), added + line);
            QCOMPARE(setup.rowIDs(1), (std::vector<std::int64_t>{1, 2}));
            QCOMPARE(setup.rowIDs(3), (std::vector<std::int64_t>{5, 6}));
            QCOMPARE(ExportState::load(setup.support()).chats.size(), 2U);
        }
    }

    void aRecordStaysAsItWasUntilTheFileCanBeWritten()
    {
        ExportSetup setup;
        setup.addChat(1, "Team");
        setup.addMessages(1, 2);
        setup.sync();
        const ChatState before = setup.record(1);
        const fs::path file = setup.file(1);
        fs::rename(file, setup.db.folder() + "/aside");
        fs::create_symlink("/dev/full", file);
        setup.addMessages(1, 1);
        QCOMPARE(describe(setup.sync()),
            "added 0, touched 0; Team: " + reason(std::errc::no_space_on_device));
        QVERIFY(setup.record(1) == before);

        fs::rename(setup.db.folder() + "/aside", file);
        QCOMPARE(describe(setup.sync()), "added 1, touched 1"s);
        QCOMPARE(setup.rowIDs(1), (std::vector<std::int64_t>{1, 2, 3}));
        QCOMPARE(setup.record(1).epoch, before.epoch);
    }

    /// As on a network drive that fails for a moment. A missing file would be begun anew, and then
    /// appended to the old one.
    void aFileThatCannotBeExaminedIsNotMissing()
    {
        ExportSetup setup;
        setup.addChat(1, "Team");
        const fs::path loop = setup.db.folder() + "/loop";
        fs::create_symlink(loop, loop);
        QVERIFY_THROWS_EXCEPTION(
            std::system_error, exportStep(setup.chats[0], "Team", ExportState(), loop, SyncMode()));
    }

    void errorsComeInTheOrderOfTheChats()
    {
        ExportSetup setup;
        std::string expected = "added 1, touched 1";
        for (const int id : {3, 1, 2}) {
            const std::string title = "Chat " + std::to_string(id);
            setup.addChat(id, title);
            setup.addMessages(id, 1);
            if (id != 1) {
                fs::create_directories(setup.folder()
                    / (title + " (" + std::to_string(id) + ") Korvane Wrapped.jsonl.txt"));
                expected += "; " + title + ": " + reason(std::errc::is_a_directory);
            }
        }
        QCOMPARE(describe(setup.sync()), expected);
    }

    void aReadOnlyFolderFailsEveryChatThatHasNews()
    {
        ExportSetup setup;
        setup.addChat(1, "News");
        setup.addChat(2, "Quiet");
        setup.addMessages(1, 1);
        fs::create_directories(setup.folder());
        fs::permissions(setup.folder(), fs::perms(0555));
        openToAll(setup);
        const std::string result = inUnprivilegedChild([&setup] { return describe(setup.sync()); });
        fs::permissions(setup.folder(), fs::perms(0755));
        QCOMPARE(result, "added 0, touched 0; News: " + reason(std::errc::permission_denied));
        QCOMPARE(ExportState::load(setup.support()).chats.size(), 1U);
        QVERIFY(fs::is_empty(setup.folder()));
    }

    void aReadOnlyFileIsAnError()
    {
        ExportSetup setup;
        setup.addChat(1, "Team");
        setup.addMessages(1, 1);
        setup.sync();
        setup.addMessages(1, 1);
        const ChatState before = setup.record(1);
        fs::permissions(setup.file(1), fs::perms(0444));
        fs::permissions(setup.folder(), fs::perms(0777));
        openToAll(setup);
        const std::string result = inUnprivilegedChild([&setup] { return describe(setup.sync()); });
        QCOMPARE(result, "added 0, touched 0; Team: " + reason(std::errc::permission_denied));
        QVERIFY(setup.record(1) == before);
        QCOMPARE(setup.rowIDs(1), std::vector<std::int64_t>{1});
    }

    void withoutAPlaceForTheStateNothingIsAdded()
    {
        ExportSetup setup;
        setup.addChat(1, "Team");
        setup.addMessages(1, 1);
        setup.sync();
        const ChatState before = setup.record(1);
        setup.addMessages(1, 1);
        fs::permissions(setup.file(1), fs::perms(0666));
        openToAll(setup);
        fs::permissions(setup.home(), fs::perms(0555));
        const std::string result = inUnprivilegedChild([&setup] { return describe(setup.sync()); });
        fs::permissions(setup.home(), fs::perms(0755));
        QCOMPARE(result,
            "added 0, touched 0; Can't write to the support folder " + setup.home().string() + ": "
                + reason(std::errc::permission_denied));
        QVERIFY(setup.record(1) == before);
        QCOMPARE(setup.rowIDs(1), std::vector<std::int64_t>{1});

        QCOMPARE(describe(setup.sync()), "added 1, touched 1"s);
        QCOMPARE(setup.rowIDs(1), (std::vector<std::int64_t>{1, 2}));
    }

    void anObstacleInKeptFailsOnlyTheChatThatRestarts()
    {
        ExportSetup setup;
        setup.addChat(1, "Team");
        setup.addChat(2, "Family");
        setup.addMessages(1, 1);
        setup.addMessages(2, 1);
        setup.sync();
        setup.addMessages(1, 1);
        setup.chats[1].displayName = "Home";
        fs::create_symlink("Kept", setup.folder() / "Kept"); // leads to itself
        QCOMPARE(describe(setup.sync()),
            "added 1, touched 1; Home: " + reason(std::errc::too_many_symbolic_link_levels));
        QCOMPARE(setup.rowIDs(2), std::vector<std::int64_t>{2});
    }

    void whatIsUndoneLaterIsNotCounted()
    {
        ExportSetup setup;
        setup.addChat(1, "Team");
        setup.addChat(2, "Family");
        setup.addMessages(1, 3);
        setup.addMessages(2, 1);
        const fs::path elsewhere = setup.db.folder() + "/elsewhere";
        const SyncResult result = setup.sync([&](const ChatInfo& chat) {
            if (chat.id == 2)
                fs::rename(setup.folder(), elsewhere);
            return true;
        });
        QCOMPARE(result.errors.size(), std::size_t{1});
        QCOMPARE(result.added, 0);
        QCOMPARE(result.chatsTouched, 0);
        fs::rename(elsewhere, setup.folder());
        QCOMPARE(describe(setup.sync()), "added 4, touched 2"s);
    }

    void aStateThatCannotBeSavedTakesMessagesBack()
    {
        ExportSetup setup;
        setup.addChat(1, "Team");
        setup.addMessages(1, 1);
        fs::create_directories(setup.home() / "state.json.new/in the way");
        QCOMPARE(describe(setup.sync()),
            "added 0, touched 0; Can't save the progress of the export in " + setup.home().string()
                + ", so the messages of the last chats were not added. Is the disk full?");
        QVERIFY(fs::is_empty(setup.folder()));
        fs::remove_all(setup.home() / "state.json.new");
        QCOMPARE(describe(setup.sync()), "added 1, touched 1"s);
    }

    void aFolderThatIsGoneIsNotMadeAnewBeforeARollback()
    {
        ExportSetup setup;
        setup.addChat(1, "Team");
        setup.addMessages(1, 1);
        setup.sync();
        const Journal journal(setup.folder(), setup.support());
        journal.write({{setup.record(1).fileName, fs::file_size(setup.file(1)), ""}});
        writeFile(setup.file(1), readFile(setup.file(1)) + "unfinished");
        const fs::path elsewhere = setup.db.folder() + "/elsewhere";
        fs::rename(setup.folder(), elsewhere);
        QCOMPARE(setup.sync().errors.size(), std::size_t{1});
        QVERIFY(!fs::exists(setup.folder()));

        fs::rename(elsewhere, setup.folder());
        QCOMPARE(describe(setup.sync()), "added 0, touched 0"s);
        QCOMPARE(setup.rowIDs(1), std::vector<std::int64_t>{1});
    }

    void aDateOutOfRangeEndsTheProgram()
    {
        ExportSetup setup;
        setup.addChat(1, "Team");
        setup.addChat(2, "Family");
        setup.addMessages(1, 1);
        setup.addMessages(2, 1);
        setup.db.sql().execute("UPDATE message SET date = -9223372036854775808 WHERE ROWID = 2");
        QVERIFY_THROWS_EXCEPTION(std::overflow_error, setup.sync());
        QCOMPARE(ExportState::load(setup.support()).chats.size(), std::size_t{1});
        QVERIFY_THROWS_EXCEPTION(std::overflow_error, setup.sync());
        QCOMPARE(setup.rowIDs(1), std::vector<std::int64_t>{1}); // chat 1 is not written twice
    }
};

} // namespace korvane

QTEST_APPLESS_MAIN(korvane::SyncFailuresTest)
#include "SyncFailuresTest.moc"
