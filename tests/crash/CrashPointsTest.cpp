#include "crash/CrashWorld.h"
#include "history/ArchiveModel.h"
#include "storage/Files.h"
#include "support/Printing.h"

#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>

namespace korvane {

namespace fs = std::filesystem;

namespace {

constexpr int usualSeeds = 2;

/// A run of the program to be cut short, and what leads to it.
struct Story {
    void (*prepare)(CrashWorld&);
    std::vector<std::string> (CrashWorld::*command)() const = &CrashWorld::exportCommand;
    int secondsPerLook = 0;
    std::size_t every = 1; ///< trouble is made at each, or each second, … of the changes
};

void threeChats(CrashWorld& world)
{
    world.addChat(1, "Family", 12);
    world.addChat(2, "Ann Lee", 3);
    world.addChat(3, "Club", 40);
}

/// So many that one flush of everything is faster than one for each file.
void fortyChats(CrashWorld& world)
{
    for (int chat = 1; chat <= 40; ++chat)
        world.addChat(chat, "Chat", 2);
}

void exportThreeChats(CrashWorld& world)
{
    threeChats(world);
    QCOMPARE(world.run(world.exportCommand()), 0);
}

void addToTwoOfThem(CrashWorld& world)
{
    exportThreeChats(world);
    world.addMessages(1, 5);
    world.addMessages(3, 20);
}

void renameOne(CrashWorld& world)
{
    addToTwoOfThem(world);
    world.database.sql().execute("UPDATE chat SET display_name = 'Bo' WHERE ROWID = 1");
}

void renameOneAfterItsOldMessagesWereDeleted(CrashWorld& world)
{
    renameOne(world);
    world.database.sql().execute("DELETE FROM message WHERE ROWID < 8");
}

void renameAllAfterOldMessagesWereDeleted(CrashWorld& world)
{
    addToTwoOfThem(world);
    world.database.sql().execute("UPDATE chat SET display_name = display_name || ' 2'");
    world.database.sql().execute("DELETE FROM message WHERE ROWID IN (2, 13, 14, 20, 30)");
}

/// Leaves one file that is torn, one that has too much, one with a gap, and one that is intact.
void damageFiles(CrashWorld& world)
{
    exportThreeChats(world);
    world.addChat(4, "Team", 5);
    QCOMPARE(world.run(world.exportCommand()), 0);
    const auto file = [&world](const char* name) {
        return world.exports() / (std::string(name) + " Korvane Wrapped.jsonl.txt");
    };
    fs::resize_file(file("Club (3)"), fs::file_size(file("Club (3)")) / 2);
    const std::string records = Files::read(file("Ann Lee (2)")).value_or("");
    std::ofstream(file("Ann Lee (2)"), std::ios::binary) << records << records;
    world.database.sql().execute("UPDATE message SET text = 'edited' WHERE ROWID = 3");
    world.database.sql().execute("DELETE FROM message WHERE ROWID = 13");
}

/// Kills a run while it has a journal, a new file that is not complete, and an old one in Kept/.
void killRun(CrashWorld& world, const std::vector<std::string>& command)
{
    const fs::path journal = world.support() / "export.journal";
    const fs::path kept = world.exports() / "Kept";
    const auto keptFiles = [&kept] {
        std::error_code ignored;
        return std::distance(fs::directory_iterator(kept, ignored), fs::directory_iterator());
    };
    const Tree before = world.contents();
    for (int change = 1; !fs::exists(journal) || keptFiles() < 2; ++change) {
        QVERIFY(change < 100);
        writeTree(before, world.folders());
        world.runLogged(command, {Trouble::Kind::KilledBefore, change});
    }
}

void killAnExport(CrashWorld& world)
{
    renameAllAfterOldMessagesWereDeleted(world);
    killRun(world, world.exportCommand());
}

void killARepair(CrashWorld& world)
{
    damageFiles(world);
    killRun(world, world.repairCommand());
}

/// Makes trouble at each of the changes of a run, and examines what can then be on the disk.
class Examination {
public:
    Examination(const CrashWorld& world, std::vector<std::string> command, int secondsPerLook)
        : m_world(world)
        , m_command(std::move(command))
        , m_secondsPerLook(secondsPerLook)
        , m_before(world.contents())
    {
    }

    void runWhole(int seeds)
    {
        Disk disk = diskBefore();
        const LoggedRun run = m_world.runLogged(
            m_command, {.kind = Trouble::Kind::None, .secondsPerLook = m_secondsPerLook});
        m_changes = run.changes;
        QVERIFY2(!run.wasKilled && !m_changes.empty(), run.output.c_str());
        disk.apply(m_changes);
        const Tree after = m_world.contents();
        check(disk.contents(), after, "the log of the changes is not complete");
        m_expected = withoutDrafts(m_world.comparable(after, m_before));
        checkThatRecordsAreIn(after, m_before);
        checkThatProgressIsOnDisk(disk.afterPowerCut({}), after);
        examineAll(disk, 0, seeds, "after the end");
    }

    void makeTrouble(std::size_t every, int seeds)
    {
        for (std::size_t i = 0; i < m_changes.size(); i += every) {
            const DiskChange& change = m_changes[i];
            makeTrouble(Trouble::Kind::KilledBefore, change, seeds);
            if (change.canBeTorn())
                makeTrouble(Trouble::Kind::KilledInTheMiddle, change, seeds);
            makeTrouble(Trouble::Kind::Error, change, seeds);
            if (change.needsSpace())
                makeTrouble(Trouble::Kind::FullDisk, change, seeds);
            if (QTest::currentTestFailed())
                return;
        }
    }

    std::size_t changes() const { return m_changes.size(); }
    std::size_t disks() const { return m_examined.size(); }

private:
    Disk diskBefore() const
    {
        writeTree(m_before, m_world.folders());
        return Disk(m_world.folders());
    }

    void makeTrouble(Trouble::Kind kind, const DiskChange& change, int seeds)
    {
        const std::string moment = described(kind) + std::to_string(change.number) + " ("
            + change.kind + ' ' + change.subject() + ')';
        Disk disk = diskBefore();
        const Trouble trouble{kind, change.number, m_secondsPerLook};
        const LoggedRun run = m_world.runLogged(m_command, trouble);
        QVERIFY2(run.wasKilled == trouble.kills(), (moment + ": " + run.output).c_str());
        disk.apply(run.changes);
        check(disk.contents(), m_world.contents(), "the log is not complete: " + moment);
        examineAll(disk, static_cast<std::uint32_t>(change.number), seeds, moment);
    }

    static std::string described(Trouble::Kind kind)
    {
        switch (kind) {
        case Trouble::Kind::KilledBefore:
            return "killed before change ";
        case Trouble::Kind::KilledInTheMiddle:
            return "killed in the middle of change ";
        case Trouble::Kind::Error:
            return "error at change ";
        case Trouble::Kind::FullDisk:
            return "disk full from change ";
        case Trouble::Kind::None:
            return "";
        }
        return "";
    }

    void examineAll(const Disk& disk, std::uint32_t moment, int seeds, const std::string& when)
    {
        examine(disk.contents(), when);
        examine(disk.afterPowerCut({}), when + ", then nothing unsynced survives");
        for (int seed = 0; seed < seeds; ++seed) {
            const std::uint32_t number = moment * 1000 + static_cast<std::uint32_t>(seed);
            examine(disk.afterPowerCut({Survivors::Choice::Random, number}),
                when + ", then power cut " + std::to_string(number));
        }
    }

    /// Lets the program go on with what is on the disk.
    void examine(const Tree& disk, const std::string& moment)
    {
        if (QTest::currentTestFailed()
            || !m_examined.insert(m_world.comparable(disk, m_before)).second)
            return;
        writeTree(disk, m_world.folders());
        QVERIFY2(m_world.run(m_command) == 0, (moment + ": " + m_world.output()).c_str());
        check(withoutDrafts(m_world.comparable(m_world.contents(), m_before)), m_expected, moment,
            "\nOn the disk before, compared with the beginning:\n" + differences(disk, m_before));
    }

    /// A draft that was not renamed stays until the next run that saves something.
    static Tree withoutDrafts(Tree tree)
    {
        std::erase_if(tree, [](const auto& entry) { return entry.first.ends_with(".new"); });
        return tree;
    }

    static void check(const Tree& actual, const Tree& expected, const std::string& what,
        const std::string& more = "")
    {
        QVERIFY2(actual == expected, (what + '\n' + differences(actual, expected) + more).c_str());
    }

    /// Here, where no message changes but in its names, each record stays the same in these parts.
    static void checkThatRecordsAreIn(const Tree& tree, const Tree& wanted)
    {
        const std::set<std::string> records = recordsIn(tree);
        for (const std::string& record : recordsIn(wanted))
            QVERIFY2(records.contains(record), ("lost: " + record).c_str());
    }

    /// A run that reports success does not rely on anything that a power cut can undo.
    void checkThatProgressIsOnDisk(const Tree& disk, const Tree& after) const
    {
        const std::string state = m_world.support() / "state.json";
        QVERIFY(disk.contains(state) && disk.at(state) == after.at(state));
        checkThatRecordsAreIn(disk, after);
    }

    static std::set<std::string> recordsIn(const Tree& tree)
    {
        std::set<std::string> records;
        for (const auto& [path, bytes] : tree) {
            for (const ReadRecord& record : ReadLines::from(bytes.value_or("")).records)
                records.insert(record.id + ' ' + record.date + ' ' + record.body);
        }
        return records;
    }

    const CrashWorld& m_world;
    const std::vector<std::string> m_command;
    const int m_secondsPerLook;
    const Tree m_before;
    std::vector<DiskChange> m_changes;
    Tree m_expected;
    std::set<Tree> m_examined; ///< what was on the disk, each only once
};

int seedsFromEnvironment()
{
    const QByteArray chosen = qgetenv("KORVANE_CRASH_SEEDS");
    return chosen.isEmpty() ? usualSeeds : chosen.toInt();
}

} // namespace

/// Runs of the program that are killed or cannot go on at each of their changes to a file or
/// folder, and power cuts then. The same command is given again, and must lead to the same files as
/// if nothing had happened. KORVANE_CRASH_SEEDS is the number of random power cuts per change.
class CrashPointsTest : public QObject {
    Q_OBJECT

private slots:
    void initTestCase()
    {
        if (fs::exists("/dev/shm"))
            qputenv("TMPDIR", "/dev/shm"); // the disk is simulated, so that memory will do
    }

    void whatTroubleLeavesTheNextRunCompletes_data()
    {
        QTest::addColumn<Story>("story");
        QTest::newRow("a first export") << Story{threeChats};
        QTest::newRow("a first export of many chats") << Story{.prepare = fortyChats, .every = 17};
        QTest::newRow("an export of new messages") << Story{addToTwoOfThem};
        QTest::newRow("an export after a contact was renamed") << Story{renameOne};
        QTest::newRow("an export after a contact was renamed and messages were deleted")
            << Story{renameOneAfterItsOldMessagesWereDeleted};
        QTest::newRow("an export after all were renamed and messages were deleted")
            << Story{renameAllAfterOldMessagesWereDeleted};
        QTest::newRow("a slow export") << Story{.prepare = renameAllAfterOldMessagesWereDeleted,
            .secondsPerLook = 10}; // which therefore saves its progress after each chat
        QTest::newRow("the export after a killed one") << Story{killAnExport};
        QTest::newRow("a repair") << Story{damageFiles, &CrashWorld::repairCommand};
        QTest::newRow("a slow repair") << Story{damageFiles, &CrashWorld::repairCommand, 10};
        QTest::newRow("the repair after a killed one")
            << Story{killARepair, &CrashWorld::repairCommand};
    }

    void whatTroubleLeavesTheNextRunCompletes()
    {
        QFETCH(Story, story);
        CrashWorld world;
        story.prepare(world);
        Examination examination(world, (world.*story.command)(), story.secondsPerLook);
        examination.runWhole(seedsFromEnvironment());
        if (QTest::currentTestFailed())
            return;
        examination.makeTrouble(story.every, seedsFromEnvironment());
        qInfo("%zu changes, %zu different disks", examination.changes(), examination.disks());
    }
};

} // namespace korvane

QTEST_GUILESS_MAIN(korvane::CrashPointsTest)
#include "CrashPointsTest.moc"
