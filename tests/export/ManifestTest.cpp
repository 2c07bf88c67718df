#include "export/Manifest.h"

#include "export/Child.h"
#include "export/ExportSetup.h"
#include "export/Rerun.h"
#include "storage/FileReader.h"
#include "support/Printing.h"

#include <QTemporaryDir>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <limits>
#include <thread>

using namespace std::string_literals;

namespace korvane {

namespace fs = std::filesystem;

namespace {

std::vector<ManifestItem> manifestOf(const ExportSetup& setup, const std::set<std::string>& guids)
{
    return Exporter::manifest(setup.folder(), guids, setup.support());
}

/// Adds a record with only its required members, and its file.
void addBareRecord(const ExportSetup& setup, std::int64_t chat, const std::string& fileName)
{
    fs::create_directories(setup.folder());
    writeFile(setup.folder() / fileName, "12345");
    setup.setRecord(chat, {.lastRowID = 1, .fileName = fileName});
}

} // namespace

/// The files that the manifest lists, and their fields.
class ManifestTest : public QObject {
    Q_OBJECT

private slots:
    void listsAnExportedChat()
    {
        ExportSetup setup;
        setup.addChat(1, "A/B");
        setup.addMessages(1, 3);
        setup.sync();
        const auto items = manifestOf(setup, {ExportSetup::guid(1)});
        QCOMPARE(items.size(), 1U);
        QCOMPARE(items[0].id, ExportSetup::guid(1));
        QCOMPARE(items[0].title, "A/B"s);
        QCOMPARE(items[0].file, "A_B (1) Korvane Wrapped.jsonl.txt"s);
        QCOMPARE(items[0].size, static_cast<std::int64_t>(readFile(setup.file(1)).size()));
        QCOMPARE(items[0].messages, 3);
        QCOMPARE(items[0].epoch, setup.record(1).epoch.value());
        QVERIFY(items[0].updated);
    }

    void listsOnlyTheChatsAskedFor()
    {
        ExportSetup setup;
        for (const int id : {1, 2, 3}) {
            setup.addChat(id, "Chat " + std::to_string(id));
            setup.addMessages(id, 1);
        }
        setup.sync();
        const auto items
            = manifestOf(setup, {ExportSetup::guid(3), ExportSetup::guid(1), "never exported"});
        QCOMPARE(items.size(), 2U);
        QCOMPARE(items[0].id, ExportSetup::guid(1));
        QCOMPARE(items[1].id, ExportSetup::guid(3));
    }

    void anEmptySetGivesNothing()
    {
        const ExportSetup setup;
        addBareRecord(setup, 1, "a.txt");
        QVERIFY(manifestOf(setup, {}).empty());
    }

    void aMissingOrBrokenStateGivesNothing_data()
    {
        QTest::addColumn<std::string>("state");
        QTest::newRow("missing") << ""s;
        QTest::newRow("without chats") << R"({"chats":{}})"s;
        QTest::newRow("broken") << R"({"chats":{"iMessage;-;1":{"fileName":"a.txt"}}})"s;
    }

    void aMissingOrBrokenStateGivesNothing()
    {
        QFETCH(std::string, state);
        const ExportSetup setup;
        addBareRecord(setup, 1, "a.txt");
        fs::remove(setup.stateFile());
        if (!state.empty())
            writeFile(setup.stateFile(), state);
        QVERIFY(manifestOf(setup, {ExportSetup::guid(1)}).empty());
    }

    void aFileThatIsGoneIsLeftOut()
    {
        const ExportSetup setup;
        addBareRecord(setup, 1, "a.txt");
        addBareRecord(setup, 2, "b.txt");
        fs::remove(setup.folder() / "a.txt");
        const auto items = manifestOf(setup, {ExportSetup::guid(1), ExportSetup::guid(2)});
        QCOMPARE(items.size(), 1U);
        QCOMPARE(items[0].file, "b.txt"s);
    }

    void aFolderThatIsGoneOrClosedGivesNothing()
    {
        const ExportSetup setup;
        addBareRecord(setup, 1, "a.txt");
        fs::permissions(setup.db.folder(), fs::perms(0755));
        fs::permissions(setup.folder(), fs::perms(0));
        const std::string count = inUnprivilegedChild(
            [&] { return std::to_string(manifestOf(setup, {ExportSetup::guid(1)}).size()); });
        fs::permissions(setup.folder(), fs::perms(0755));
        QCOMPARE(count, "0"s);
        QVERIFY(Exporter::manifest(setup.folder() / "gone", {ExportSetup::guid(1)}, setup.support())
                    .empty());
        QVERIFY(Exporter::manifest("", {ExportSetup::guid(1)}, setup.support()).empty());
    }

    void anOldRecordHasItsFileNameForATitle()
    {
        const ExportSetup setup;
        addBareRecord(setup, 1, "Team (1).txt");
        const auto items = manifestOf(setup, {ExportSetup::guid(1)});
        QCOMPARE(items.size(), 1U);
        QCOMPARE(items[0].title, "Team (1).txt"s);
        QCOMPARE(items[0].file, "Team (1).txt"s);
        QCOMPARE(items[0].epoch, "0"s);
        QCOMPARE(items[0].messages, 0);
        QCOMPARE(items[0].size, 5);
    }

    void countsAreThoseOfTheLastSync()
    {
        ExportSetup setup;
        setup.addChat(1, "Team");
        setup.addMessages(1, 2);
        setup.sync();
        const std::string bytes = readFile(setup.file(1));
        writeFile(setup.file(1), bytes + bytes);
        const auto items = manifestOf(setup, {ExportSetup::guid(1)});
        QCOMPARE(items.at(0).messages, 2);
        QCOMPARE(items.at(0).size, static_cast<std::int64_t>(2 * bytes.size()));
    }

    void tellsSizesAbove4GiB()
    {
        const ExportSetup setup;
        addBareRecord(setup, 1, "a.txt");
        constexpr std::uintmax_t size = 5'000'000'000;
        fs::resize_file(setup.folder() / "a.txt", size);
        QCOMPARE(manifestOf(setup, {ExportSetup::guid(1)}).at(0).size, std::int64_t{size});
    }

    void dropsTheFractionOfTheTime_data()
    {
        QTest::addColumn<qint64>("seconds");
        QTest::addColumn<int>("nanoseconds");
        QTest::addColumn<std::string>("updated");
        QTest::newRow("three quarters")
            << qint64{1'714'979'289} << 750'000'000 << "2024-05-06T07:08:09Z"s;
        QTest::newRow("nearly a second")
            << qint64{1'714'979'289} << 999'999'999 << "2024-05-06T07:08:09Z"s;
        QTest::newRow("none") << qint64{1'704'067'200} << 0 << "2024-01-01T00:00:00Z"s;
        QTest::newRow("before 1970") << qint64{-1} << 500'000'000 << "1969-12-31T23:59:59Z"s;
    }

    void dropsTheFractionOfTheTime()
    {
        QFETCH(qint64, seconds);
        QFETCH(int, nanoseconds);
        QFETCH(std::string, updated);
        const ExportSetup setup;
        addBareRecord(setup, 1, "a.txt");
        const timespec both[] = {{0, UTIME_NOW}, {seconds, nanoseconds}};
        QCOMPARE(::utimensat(AT_FDCWD, (setup.folder() / "a.txt").c_str(), both, 0), 0);
        QCOMPARE(manifestOf(setup, {ExportSetup::guid(1)}).at(0).updated, std::optional(updated));
    }

    void aTimeBeyondFourDigitsOfYearsIsLeftOut()
    {
        const ExportSetup setup;
        addBareRecord(setup, 1, "a.txt");
        const QTemporaryDir inMemory(
            QStringLiteral("/dev/shm/manifest-XXXXXX")); // ext4 stores no time after 2446
        const fs::path folder
            = inMemory.isValid() ? fs::path(inMemory.path().toStdString()) : setup.folder();
        const fs::path file = folder / "a.txt";
        writeFile(file, "12345");
        const timespec both[] = {{0, UTIME_NOW}, {std::numeric_limits<time_t>::max() / 2, 0}};
        struct stat info { };
        if (::utimensat(AT_FDCWD, file.c_str(), both, 0) != 0 || ::stat(file.c_str(), &info) != 0
            || info.st_mtime < 253'402'300'800)
            QSKIP("needs a file system that stores times after the year 9999");
        const auto items = Exporter::manifest(folder, {ExportSetup::guid(1)}, setup.support());
        QCOMPARE(items.size(), 1U);
        QCOMPARE(items[0].updated, std::optional<std::string>());
    }

    void theTimeZoneDoesNotMatter()
    {
        for (const char* zone : {"XST-14", "YST+12"}) {
            const auto failure = rerun({"dropsTheFractionOfTheTime"}, {{"TZ", zone}});
            QVERIFY2(failure.isEmpty(), failure);
        }
    }

    void whatTheServerWouldNotOpenIsLeftOut_data()
    {
        using Obstacle = void (*)(const fs::path& file);
        QTest::addColumn<Obstacle>("obstacle");
        QTest::newRow("a link to a file") << Obstacle([](const fs::path& file) {
            fs::rename(file, file.native() + ".real");
            fs::create_symlink(file.native() + ".real", file);
        });
        QTest::newRow("a link to nothing") << Obstacle([](const fs::path& file) {
            fs::remove(file);
            fs::create_symlink("gone", file);
        });
        QTest::newRow("a folder") << Obstacle([](const fs::path& file) {
            fs::remove(file);
            fs::create_directory(file);
        });
        QTest::newRow("a pipe") << Obstacle([](const fs::path& file) {
            fs::remove(file);
            QCOMPARE(::mkfifo(file.c_str(), 0600), 0);
        });
    }

    void whatTheServerWouldNotOpenIsLeftOut()
    {
        using Obstacle = void (*)(const fs::path& file);
        QFETCH(Obstacle, obstacle);
        const ExportSetup setup;
        addBareRecord(setup, 1, "a.txt");
        addBareRecord(setup, 2, "b.txt");
        obstacle(setup.folder() / "a.txt");
        for (const fs::path& folder : {fs::path(setup.db.folder()), setup.home(), setup.folder()})
            fs::permissions(folder, fs::perms(0755));
        fs::permissions(setup.stateFile(), fs::perms(0644));
        const std::string listed = inUnprivilegedChild([&] {
            std::string files;
            for (const auto& item : manifestOf(setup, {ExportSetup::guid(1), ExportSetup::guid(2)}))
                files += item.file;
            return files;
        });
        QCOMPARE(listed, "b.txt"s);
        QVERIFY(!FileReader::open(setup.folder() / "a.txt"));
    }

    void seesAWholeStateWhileItIsReplaced()
    {
        const ExportSetup setup;
        addBareRecord(setup, 1, "a.txt");
        const ExportState one = ExportState::load(setup.support());
        ExportState two = one;
        for (int i = 2; i < 500; ++i)
            two.chats[ExportSetup::guid(i)] = {.fileName = "a.txt", .title = std::string(100, 'x')};
        std::set<std::string> guids;
        for (const auto& [guid, record] : two.chats)
            guids.insert(guid);

        std::atomic<bool> stop = false;
        std::thread writer([&] {
            for (int i = 0; !stop; ++i)
                Exporter::saveState(i % 2 == 0 ? two : one, setup.support());
        });
        std::set<std::size_t> sizes;
        for (int i = 0; i < 500; ++i)
            sizes.insert(manifestOf(setup, guids).size());
        stop = true;
        writer.join();
        for (const std::size_t size : sizes)
            QVERIFY2(
                size == one.chats.size() || size == two.chats.size(), std::to_string(size).c_str());
    }
};

} // namespace korvane

QTEST_GUILESS_MAIN(korvane::ManifestTest)
#include "ManifestTest.moc"
