#include "export/Child.h"
#include "export/ExportSetup.h"
#include "support/Printing.h"

#include <sys/mount.h>
#include <sys/resource.h>
#include <unistd.h>

#include <csignal>

using namespace std::string_literals;

namespace korvane {

namespace fs = std::filesystem;

namespace {

constexpr std::size_t limit = 100'000;

/// Syncs in a child process whose files may not grow beyond `size` bytes.
std::string syncWithLimit(const ExportSetup& setup, rlim_t size = limit)
{
    return inChild([&setup, size] {
        const rlimit files{size, size};
        std::signal(SIGXFSZ, SIG_IGN);
        ::setrlimit(RLIMIT_FSIZE, &files);
        return describe(setup.sync());
    });
}

std::string tooLarge(const char* title)
{
    return std::string("; ") + title + ": "
        + std::make_error_code(std::errc::file_too_large).message();
}

} // namespace

/// Batches that do not fit: on a full file system, and under a limit on file sizes
/// (RLIMIT_FSIZE). Nothing remains of them.
class DiskFullTest : public QObject {
    Q_OBJECT

private slots:
    void aNewFileThatDoesNotFitIsRemoved()
    {
        ExportSetup setup;
        setup.addChat(1, "Large");
        setup.addChat(2, "Small");
        setup.addMessages(1, 500);
        setup.addMessages(2, 2);
        QCOMPARE(syncWithLimit(setup), "added 2, touched 1" + tooLarge("Large"));
        QCOMPARE(ExportState::load(setup.support()).chats.size(), 1U);
        QCOMPARE(setup.rowIDs(2), (std::vector<std::int64_t>{501, 502}));
        const fs::path file = setup.folder() / "Large (1) Korvane Wrapped.jsonl.txt";
        QVERIFY(!fs::exists(file));

        QCOMPARE(describe(setup.sync()), "added 500, touched 1"s);
        QCOMPARE(setup.file(1), file);
        QCOMPARE(setup.record(1).messages.value_or(-1), 500);
        QCOMPARE(setup.rowIDs(1).size(), 500U);
    }

    void aBatchThatDoesNotFitLeavesTheFileAsItWas()
    {
        ExportSetup setup;
        setup.addChat(1, "Team");
        setup.addMessages(1, 10);
        setup.sync();
        const ChatState before = setup.record(1);
        const std::string whole = readFile(setup.file(1));
        setup.addMessages(1, 500);
        QCOMPARE(syncWithLimit(setup), "added 0, touched 0" + tooLarge("Team"));
        QVERIFY(setup.record(1) == before);
        QCOMPARE(readFile(setup.file(1)), whole);

        QCOMPARE(describe(setup.sync()), "added 500, touched 1"s);
        const std::string bytes = readFile(setup.file(1));
        QVERIFY(bytes.starts_with(whole));
        QCOMPARE(setup.rowIDs(1).size(), 510U);
        QCOMPARE(setup.rowIDs(1).back(), 510);
        QCOMPARE(setup.record(1).epoch, before.epoch);
        QCOMPARE(setup.record(1).messages.value_or(-1), 510);
    }

    void aRestartThatDoesNotFitPutsTheOldFileBack()
    {
        ExportSetup setup;
        setup.addChat(1, "Team");
        setup.addMessages(1, 500);
        setup.sync();
        const ChatState before = setup.record(1);
        setup.chats[0].displayName = "Club";
        const std::string whole = readFile(setup.file(1));
        QCOMPARE(syncWithLimit(setup), "added 0, touched 0" + tooLarge("Club"));
        QVERIFY(setup.record(1) == before);
        QCOMPARE(readFile(setup.file(1)), whole);

        QCOMPARE(describe(setup.sync()), "added 500, touched 1"s);
        QCOMPARE(setup.rowIDs(1).size(), 500U);
        QCOMPARE(setup.rowIDs(1).front(), 1);
        QCOMPARE(setup.record(1).title, std::optional("Club"s));
        QVERIFY(setup.record(1).epoch != before.epoch);
    }

    void aDiskWithoutAnyRoomKeepsTheStateOfBefore()
    {
        ExportSetup setup;
        setup.addChat(1, "Team");
        setup.addMessages(1, 2);
        setup.sync();
        const std::string state = readFile(setup.stateFile());
        const std::string bytes = readFile(setup.file(1));
        setup.addMessages(1, 2);
        QCOMPARE(syncWithLimit(setup, 0),
            "added 0, touched 0; Can't write to the support folder " + setup.home().string() + ": "
                + std::make_error_code(std::errc::file_too_large).message());
        QCOMPARE(readFile(setup.stateFile()), state);
        QCOMPARE(readFile(setup.file(1)), bytes);
        QCOMPARE(describe(setup.sync()), "added 2, touched 1"s);
        QCOMPARE(setup.rowIDs(1), (std::vector<std::int64_t>{1, 2, 3, 4}));
    }

    void aFullFileSystemFailsOneChatAndTakesTheNext()
    {
        ExportSetup setup;
        fs::create_directories(setup.folder());
        if (::mount("none", setup.folder().c_str(), "tmpfs", 0, "size=64k") != 0)
            QSKIP("No file system can be mounted here.");
        setup.addChat(1, "Large");
        setup.addChat(2, "Small");
        setup.addMessages(1, 500);
        setup.addMessages(2, 2);
        writeFile(setup.folder() / "Small (2) Korvane Wrapped.jsonl.txt", "\n"); // takes up a page
        const std::string full = describe(setup.sync());
        const std::size_t records = ExportState::load(setup.support()).chats.size();
        const bool nothingRemains
            = !fs::exists(setup.folder() / "Large (1) Korvane Wrapped.jsonl.txt");
        ::mount("none", setup.folder().c_str(), "tmpfs", MS_REMOUNT, "size=10m");
        const std::string room = describe(setup.sync());
        const auto rowIDs = setup.rowIDs(1);
        ::umount(setup.folder().c_str());
        QVERIFY(nothingRemains);
        QCOMPARE(full,
            "added 2, touched 1; Large: "
                + std::make_error_code(std::errc::no_space_on_device).message());
        QCOMPARE(records, 1U);
        QCOMPARE(room, "added 500, touched 1"s);
        QCOMPARE(rowIDs.size(), 500U);
    }
};

} // namespace korvane

QTEST_APPLESS_MAIN(korvane::DiskFullTest)
#include "DiskFullTest.moc"
