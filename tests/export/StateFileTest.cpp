#include "export/Child.h"
#include "export/ExportSetup.h"
#include "storage/Descriptor.h"
#include "support/FileMode.h"
#include "support/Printing.h"

#include <fcntl.h>
#include <sys/resource.h>
#include <unistd.h>

#include <csignal>
#include <fstream>

using namespace std::string_literals;

namespace korvane {

namespace fs = std::filesystem;

namespace {

const ExportState older{.chats = {{"a", {.lastRowID = 1, .fileName = "a.txt"}}}};
const ExportState newer{.chats = {{"b", {.lastRowID = 2, .fileName = "b.txt"}}}};

std::vector<std::string> namesIn(const fs::path& folder)
{
    std::vector<std::string> names;
    for (const auto& item : fs::directory_iterator(folder))
        names.push_back(item.path().filename());
    return names;
}

} // namespace

/// The state on disk: it is loaded completely or not at all, and replaced atomically.
class StateFileTest : public QObject {
    Q_OBJECT

private slots:
    void aMissingFileIsAnEmptyState()
    {
        const ExportSetup setup;
        QVERIFY(ExportState::load(setup.support()) == ExportState());
        QVERIFY(!fs::exists(setup.stateFile()));
    }

    void aBrokenFileIsAnEmptyState_data()
    {
        QTest::addColumn<std::string>("bytes");
        QTest::newRow("empty") << ""s;
        QTest::newRow("without chats") << "{}"s;
        QTest::newRow("not JSON") << "lastRowID=7"s;
        QTest::newRow("one bad record of two")
            << R"({"chats":{"a":{"lastRowID":1,"fileName":"a"},"b":{"lastRowID":1}}})"s;
        QTest::newRow("all zero, as a crashed file system leaves it") << std::string(100, '\0');
    }

    void aBrokenFileIsAnEmptyState()
    {
        QFETCH(std::string, bytes);
        const ExportSetup setup;
        writeFile(setup.stateFile(), bytes);
        QVERIFY(ExportState::load(setup.support()) == ExportState());
        QCOMPARE(readFile(setup.stateFile()), bytes);
    }

    void aFileCutShortAnywhereIsAnEmptyState()
    {
        const ExportSetup setup;
        const std::string json = older.toJson();
        for (std::size_t size = 0; size < json.size(); ++size) {
            writeFile(setup.stateFile(), json.substr(0, size));
            QVERIFY(ExportState::load(setup.support()) == ExportState());
        }
    }

    void savesExactlyTheJson()
    {
        const ExportSetup setup;
        Exporter::saveState(
            {.chats = {{"g", {.lastRowID = 3, .fileName = "A/B"}}}}, setup.support());
        QCOMPARE(readFile(setup.stateFile()),
            std::string(R"({"chats":{"g":{"lastRowID":3,"fileName":"A\/B"}}})"));
        Exporter::saveState({}, setup.support());
        QCOMPARE(readFile(setup.stateFile()), std::string(R"({"chats":{}})"));
    }

    void savesIntoASupportFolderThatIsNotThereYet()
    {
        const ExportSetup setup;
        const fs::path deep = setup.home() / "not/there/yet";
        const SupportFolder support(deep);
        Exporter::saveState(newer, support);
        QCOMPARE(readFile(deep / "state.json"), newer.toJson());
        QVERIFY(ExportState::load(support) == newer);
    }

    void replacesTheFileAndLeavesNothingBesideIt()
    {
        const ExportSetup setup;
        ExportState large = older;
        for (int i = 0; i < 1000; ++i)
            large.chats["chat " + std::to_string(i)] = {.fileName = std::string(100, 'x')};
        Exporter::saveState(large, setup.support());
        QVERIFY(ExportState::load(setup.support()) == large);
        Exporter::saveState(newer, setup.support());
        QVERIFY(ExportState::load(setup.support()) == newer);
        QCOMPARE(namesIn(setup.home()), std::vector{"state.json"s});
    }

    void readersKeepTheOldFileWhileItIsReplaced()
    {
        const ExportSetup setup;
        Exporter::saveState(older, setup.support());
        std::ifstream reader(setup.stateFile());
        Exporter::saveState(newer, setup.support());
        const std::string seen(std::istreambuf_iterator<char>(reader), {});
        QCOMPARE(seen, older.toJson());
    }

    void aReadOnlyFolderKeepsTheOldState()
    {
        const ExportSetup setup;
        Exporter::saveState(older, setup.support());
        fs::permissions(setup.db.folder(), fs::perms(0755));
        fs::permissions(setup.stateFile(), fs::perms(0666));
        fs::permissions(setup.home(), fs::perms(0555));
        const std::string seen = inUnprivilegedChild([&setup] {
            Exporter::saveState(newer, setup.support());
            return ExportState::load(setup.support()).toJson();
        });
        fs::permissions(setup.home(), fs::perms(0755));
        QCOMPARE(seen, older.toJson());
        QCOMPARE(namesIn(setup.home()), std::vector{"state.json"s});
    }

    void aFullDiskKeepsTheOldState()
    {
        const ExportSetup setup;
        Exporter::saveState(older, setup.support());
        const std::string seen = inChild([&setup] {
            const rlimit nearlyFull{20, 20};
            std::signal(SIGXFSZ, SIG_IGN);
            ::setrlimit(RLIMIT_FSIZE, &nearlyFull);
            Exporter::saveState(newer, setup.support());
            return ExportState::load(setup.support()).toJson();
        });
        QCOMPARE(seen, older.toJson());
        QCOMPARE(namesIn(setup.home()), std::vector{"state.json"s});
    }

    void aFolderInTheWayIsNotReported()
    {
        const ExportSetup setup;
        fs::create_directories(setup.stateFile() / "kept");
        Exporter::saveState(newer, setup.support());
        QVERIFY(ExportState::load(setup.support()) == ExportState());
        QVERIFY(fs::exists(setup.stateFile() / "kept"));
        QCOMPARE(namesIn(setup.home()), std::vector{"state.json"s});
    }

    void onlyTheOwnerMayReadIt_data()
    {
        QTest::addColumn<unsigned>("mask");
        QTest::newRow("no umask") << 0U;
        QTest::newRow("the usual umask") << 022U;
        QTest::newRow("a umask that takes everything") << 0777U;
    }

    void onlyTheOwnerMayReadIt()
    {
        QFETCH(unsigned, mask);
        const ExportSetup setup;
        fs::permissions(setup.home(), fs::perms(0755));
        const Umask umask(mask);
        Exporter::saveState(older, setup.support());
        QCOMPARE(modeOf(setup.stateFile()), "600");
        Exporter::saveState(newer, setup.support());
        QCOMPARE(modeOf(setup.stateFile()), "600");
        QCOMPARE(modeOf(setup.home()), "755"); // the folder may be shared: its mode stays
    }

    void anExportClosesAFileThatWasOpenToOthers()
    {
        ExportSetup setup;
        setup.addChat(1, "Team");
        setup.addMessages(1, 1);
        writeFile(setup.stateFile(), older.toJson());
        fs::permissions(setup.stateFile(), fs::perms(0644));
        setup.sync();
        QCOMPARE(modeOf(setup.stateFile()), "600");
        QCOMPARE(ExportState::load(setup.support()).chats.size(), 2U);
    }

    void aPipeInItsPlaceIsAnEmptyStateAtOnce_data()
    {
        QTest::addColumn<bool>("hasWriter");
        QTest::newRow("nobody writes") << false;
        QTest::newRow("somebody has it open for writing") << true;
    }

    void aPipeInItsPlaceIsAnEmptyStateAtOnce()
    {
        QFETCH(bool, hasWriter);
        const ExportSetup setup;
        QCOMPARE(::mkfifo(setup.stateFile().c_str(), 0600), 0);
        const Descriptor writer(hasWriter ? ::open(setup.stateFile().c_str(), O_RDWR) : -1);
        QCOMPARE(bool(writer), hasWriter);
        // In a child process: if load() blocks, SIGALRM kills only the child.
        const std::string seen = inChild([&setup] {
            ::alarm(10);
            return ExportState::load(setup.support()).toJson();
        });
        QCOMPARE(seen, ExportState().toJson());
        Exporter::saveState(newer, setup.support());
        QVERIFY(ExportState::load(setup.support()) == newer);
    }

    void aDeviceInItsPlaceIsAnEmptyState()
    {
        const ExportSetup setup;
        fs::create_symlink("/dev/zero", setup.stateFile());
        const std::string seen = inChild([&setup] {
            const rlimit memory{std::size_t{2} << 30U, std::size_t{2} << 30U};
            ::setrlimit(RLIMIT_AS, &memory);
            return ExportState::load(setup.support()).toJson();
        });
        QCOMPARE(seen, ExportState().toJson());
    }

    void aLinkToAFileIsRead()
    {
        const ExportSetup setup;
        writeFile(setup.home() / "elsewhere", older.toJson());
        fs::create_symlink("elsewhere", setup.stateFile());
        QVERIFY(ExportState::load(setup.support()) == older);
    }
};

} // namespace korvane

QTEST_APPLESS_MAIN(korvane::StateFileTest)
#include "StateFileTest.moc"
