#include "crash/CrashWorld.h"
#include "support/Printing.h"

#include <functional>
#include <optional>
#include <set>

namespace korvane {

namespace {

constexpr int usualSeeds = 3;

/// A run of the program to be cut short, and what leads to it.
struct Story {
    void (*prepare)(CrashWorld&);
    std::vector<std::string> (CrashWorld::*command)() const = &CrashWorld::exportCommand;
};

void threeChats(CrashWorld& world)
{
    world.addChat(1, "Family", 12);
    world.addChat(2, "Ann Lee", 3);
    world.addChat(3, "Club", 40);
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

/// Cuts the run short at each of its changes, and examines what can then be on the disk.
class Examination {
public:
    Examination(const CrashWorld& world, std::vector<std::string> command)
        : m_world(world)
        , m_command(std::move(command))
        , m_before(world.contents())
    {
    }

    void runWhole()
    {
        const Disk disk = diskBefore();
        const LoggedRun run = m_world.runLogged(m_command);
        m_changes = run.changes;
        QVERIFY2(!run.wasKilled && !m_changes.empty(), run.output.c_str());
        const Tree after = m_world.contents();
        check(replayed(disk, m_changes), after, "the log of the changes is not complete");
        m_expected = m_world.comparable(after, m_before);
    }

    void cutShortAtEachChange(int seeds)
    {
        for (const DiskChange& change : m_changes) {
            cutShortAt(change, false, seeds);
            if (change.canBeTorn())
                cutShortAt(change, true, seeds);
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

    static Tree replayed(Disk disk, const std::vector<DiskChange>& changes)
    {
        disk.apply(changes);
        return disk.contents();
    }

    void cutShortAt(const DiskChange& change, bool inTheMiddle, int seeds)
    {
        const std::string moment = std::string(inTheMiddle ? "in the middle of" : "before")
            + " change " + std::to_string(change.number) + " (" + change.kind + ")";
        Disk disk = diskBefore();
        const LoggedRun run = m_world.runLogged(m_command, {change.number, inTheMiddle});
        QVERIFY2(run.wasKilled, moment.c_str());
        disk.apply(run.changes);
        check(disk.contents(), m_world.contents(), "the log is not complete: " + moment);
        examine(disk.contents(), "killed " + moment);
        examine(disk.afterPowerCut({}), "nothing unsynced survives, " + moment);
        for (int seed = 0; seed < seeds; ++seed) {
            const auto number = static_cast<std::uint32_t>(change.number * 1000 + seed);
            examine(disk.afterPowerCut({Survivors::Choice::Random, number}),
                "power cut " + std::to_string(number) + ", " + moment);
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
        check(m_world.comparable(m_world.contents(), m_before), m_expected, moment,
            "\nOn the disk before, compared with the beginning:\n" + differences(disk, m_before));
    }

    static void check(const Tree& actual, const Tree& expected, const std::string& what,
        const std::string& more = "")
    {
        QVERIFY2(actual == expected, (what + '\n' + differences(actual, expected) + more).c_str());
    }

    const CrashWorld& m_world;
    const std::vector<std::string> m_command;
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

/// Runs of the program that are cut short, by a signal or by a power cut, at each of their changes
/// to a file or folder. The same command is then given again, and must lead to the same files as
/// if nothing had happened. KORVANE_CRASH_SEEDS is the number of random power cuts per change.
class CrashPointsTest : public QObject {
    Q_OBJECT

private slots:
    void initTestCase()
    {
        if (std::filesystem::exists("/dev/shm"))
            qputenv("TMPDIR", "/dev/shm"); // the disk is simulated, so that memory will do
    }

    void whatACrashLeavesTheNextRunCompletes_data()
    {
        QTest::addColumn<Story>("story");
        QTest::newRow("a first export") << Story{threeChats};
        QTest::newRow("an export of new messages") << Story{addToTwoOfThem};
        QTest::newRow("an export after a contact was renamed") << Story{renameOne};
        QTest::newRow("an export after a contact was renamed and messages were deleted")
            << Story{renameOneAfterItsOldMessagesWereDeleted};
        QTest::newRow("an export after all were renamed and messages were deleted")
            << Story{renameAllAfterOldMessagesWereDeleted};
    }

    void whatACrashLeavesTheNextRunCompletes()
    {
        QFETCH(Story, story);
        CrashWorld world;
        story.prepare(world);
        Examination examination(world, (world.*story.command)());
        examination.runWhole();
        if (QTest::currentTestFailed())
            return;
        examination.cutShortAtEachChange(seedsFromEnvironment());
        qInfo("%zu changes, %zu different disks", examination.changes(), examination.disks());
    }
};

} // namespace korvane

Q_DECLARE_METATYPE(korvane::Story)

QTEST_GUILESS_MAIN(korvane::CrashPointsTest)
#include "CrashPointsTest.moc"
