#include "export/Child.h"
#include "export/ExportSetup.h"
#include "support/Printing.h"

#include <sys/resource.h>

#include <csignal>
#include <fstream>

using namespace std::string_literals;

namespace korvane {

namespace fs = std::filesystem;

/// The state on disk: loaded whole or not at all, replaced whole or not at all.
class StateFileTest : public QObject {
    Q_OBJECT

private slots:
    void aMissingFileIsAnEmptyState();
    void aBrokenFileIsAnEmptyState_data();
    void aBrokenFileIsAnEmptyState();
    void aFileCutShortAnywhereIsAnEmptyState();
    void savesExactlyTheJson();
    void savesIntoASupportFolderThatIsNotThereYet();
    void replacesTheFileAndLeavesNothingBesideIt();
    void readersKeepTheOldFileWhileItIsReplaced();
    void aReadOnlyFolderKeepsTheOldState();
    void aFullDiskKeepsTheOldState();
    void aFolderInTheWayIsNotReported();
};

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

void StateFileTest::aMissingFileIsAnEmptyState()
{
    const ExportSetup setup;
    QVERIFY(ExportState::load() == ExportState());
    QVERIFY(!fs::exists(setup.stateFile()));
}

void StateFileTest::aBrokenFileIsAnEmptyState_data()
{
    QTest::addColumn<std::string>("bytes");
    QTest::newRow("empty") << ""s;
    QTest::newRow("without chats") << "{}"s;
    QTest::newRow("not JSON") << "lastRowID=7"s;
    QTest::newRow("one bad record of two")
        << R"({"chats":{"a":{"lastRowID":1,"fileName":"a"},"b":{"lastRowID":1}}})"s;
    QTest::newRow("all zero, as a crashed file system leaves it") << std::string(100, '\0');
}

void StateFileTest::aBrokenFileIsAnEmptyState()
{
    QFETCH(std::string, bytes);
    const ExportSetup setup;
    writeFile(setup.stateFile(), bytes);
    QVERIFY(ExportState::load() == ExportState());
    QCOMPARE(readFile(setup.stateFile()), bytes);
}

void StateFileTest::aFileCutShortAnywhereIsAnEmptyState()
{
    const ExportSetup setup;
    const std::string json = older.toJson();
    for (std::size_t size = 0; size < json.size(); ++size) {
        writeFile(setup.stateFile(), json.substr(0, size));
        QVERIFY(ExportState::load() == ExportState());
    }
}

void StateFileTest::savesExactlyTheJson()
{
    const ExportSetup setup;
    Exporter::saveState({.chats = {{"g", {.lastRowID = 3, .fileName = "A/B"}}}});
    QCOMPARE(readFile(setup.stateFile()),
        std::string(R"({"chats":{"g":{"lastRowID":3,"fileName":"A\/B"}}})"));
    Exporter::saveState({});
    QCOMPARE(readFile(setup.stateFile()), std::string(R"({"chats":{}})"));
}

void StateFileTest::savesIntoASupportFolderThatIsNotThereYet()
{
    const ExportSetup setup;
    const fs::path deep = setup.home() / "not/there/yet";
    qputenv("KORVANE_SYNC_HOME", QByteArray::fromStdString(deep.native()));
    Exporter::saveState(newer);
    QCOMPARE(readFile(deep / "state.json"), newer.toJson());
    QVERIFY(ExportState::load() == newer);
}

void StateFileTest::replacesTheFileAndLeavesNothingBesideIt()
{
    const ExportSetup setup;
    ExportState large = older;
    for (int i = 0; i < 1000; ++i)
        large.chats["chat " + std::to_string(i)] = {.fileName = std::string(100, 'x')};
    Exporter::saveState(large);
    QVERIFY(ExportState::load() == large);
    Exporter::saveState(newer);
    QVERIFY(ExportState::load() == newer);
    QCOMPARE(namesIn(setup.home()), std::vector{"state.json"s});
}

void StateFileTest::readersKeepTheOldFileWhileItIsReplaced()
{
    const ExportSetup setup;
    Exporter::saveState(older);
    std::ifstream reader(setup.stateFile());
    Exporter::saveState(newer);
    const std::string seen(std::istreambuf_iterator<char>(reader), {});
    QCOMPARE(seen, older.toJson());
}

void StateFileTest::aReadOnlyFolderKeepsTheOldState()
{
    const ExportSetup setup;
    Exporter::saveState(older);
    fs::permissions(setup.db.folder(), fs::perms(0755));
    fs::permissions(setup.stateFile(), fs::perms(0666));
    fs::permissions(setup.home(), fs::perms(0555));
    const std::string seen = inUnprivilegedChild([] {
        Exporter::saveState(newer);
        return ExportState::load().toJson();
    });
    fs::permissions(setup.home(), fs::perms(0755));
    QCOMPARE(seen, older.toJson());
    QCOMPARE(namesIn(setup.home()), std::vector{"state.json"s});
}

void StateFileTest::aFullDiskKeepsTheOldState()
{
    const ExportSetup setup;
    Exporter::saveState(older);
    const std::string seen = inChild([] {
        const rlimit nearlyFull{20, 20};
        std::signal(SIGXFSZ, SIG_IGN);
        ::setrlimit(RLIMIT_FSIZE, &nearlyFull);
        Exporter::saveState(newer);
        return ExportState::load().toJson();
    });
    QCOMPARE(seen, older.toJson());
    QCOMPARE(namesIn(setup.home()), std::vector{"state.json"s});
}

void StateFileTest::aFolderInTheWayIsNotReported()
{
    const ExportSetup setup;
    fs::create_directories(setup.stateFile() / "kept");
    Exporter::saveState(newer);
    QVERIFY(ExportState::load() == ExportState());
    QVERIFY(fs::exists(setup.stateFile() / "kept"));
    QCOMPARE(namesIn(setup.home()), std::vector{"state.json"s});
}

} // namespace korvane

QTEST_APPLESS_MAIN(korvane::StateFileTest)
#include "StateFileTest.moc"
