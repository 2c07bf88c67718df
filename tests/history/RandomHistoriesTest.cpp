#include "history/HistoryWorld.h"
#include "support/Printing.h"

#include <QElapsedTimer>
#include <QJsonArray>
#include <QRandomGenerator>

#include <algorithm>

namespace korvane {

namespace fs = std::filesystem;

namespace {

constexpr int usualSeconds = 25;
constexpr int stepsPerHistory = 25;

int fromEnvironment(const char* name, int otherwise)
{
    const QByteArray value = qgetenv(name);
    return value.isEmpty() ? otherwise : value.toInt();
}

/// What must never be lost: each message that has a text, as an archive has it.
using Texts = std::set<std::string>;

void addTexts(Texts& texts, const std::string& bytes)
{
    for (const ReadRecord& record : ReadLines::from(bytes).all()) {
        if (!record.body.empty())
            texts.insert(record.guid + ' ' + record.date + ' '
                + (record.isOutgoing ? "Me" : record.senderID) + ' ' + record.body);
    }
}

Texts textsIn(const HistoryWorld& world)
{
    Texts texts;
    for (const fs::path& folder : world.folders()) {
        const Archive archive = Archive::at(folder, world.support());
        for (const auto& [name, bytes] : archive.files)
            addTexts(texts, bytes);
        for (const std::string& bytes : archive.kept)
            addTexts(texts, bytes);
        for (const std::string& bytes : archive.unchecked)
            addTexts(texts, bytes);
    }
    return texts;
}

std::string described(const Archive& archive)
{
    std::string text;
    for (const auto& [name, bytes] : archive.files) {
        const ReadLines lines = ReadLines::from(bytes);
        text += "  " + name + ":";
        for (const ReadRecord& record : lines.records)
            text += ' ' + std::to_string(record.rowID);
        text += ", torn " + std::to_string(lines.torn) + ", " + std::to_string(bytes.size())
            + " bytes\n";
    }
    for (const std::string& bytes : archive.kept) {
        text += "  kept:";
        for (const ReadRecord& record : ReadLines::from(bytes).records)
            text += ' ' + record.id.substr(4);
        text += '\n';
    }
    return text + "  state: " + archive.state.toJson() + '\n';
}

/// One history: steps, each followed by the comparison of the archive with what it has to be.
class History {
public:
    explicit History(std::uint32_t seed)
        : m_world(seed)
        , m_steps("seed " + std::to_string(seed)) { }

    /// Returns false after the first failure.
    bool run()
    {
        for (int i = 0; i < stepsPerHistory && m_failure.empty(); ++i)
            step();
        return m_failure.empty();
    }

    const std::string& steps() const { return m_steps; }
    const std::string& failure() const { return m_failure; }

private:
    void step()
    {
        switch (m_world.random(12)) {
        case 0:
            return exportWithoutContacts();
        case 1:
            return killAnExport();
        case 2:
            return killARepair();
        case 3:
        case 4:
            return check();
        case 5:
            return repair();
        case 6:
        case 7:
        case 8:
            return exportAll();
        default:
            return change();
        }
    }

    void change()
    {
        for (int i = 0; i <= m_world.random(3); ++i) {
            note(m_world.changeSomething());
            if (m_world.lastChangeWasDestructive())
                m_texts = textsIn(m_world);
        }
    }

    void exportAll()
    {
        note("export");
        finishExport(m_world.archive());
    }

    void killAnExport()
    {
        const Archive before = m_world.archive();
        note(m_world.runAndKill(m_world.exportCommand()) + ", then an export");
        finishExport(before);
    }

    void finishExport(const Archive& before)
    {
        const FreshDatabase database = m_world.freshDatabase();
        const HistoryRun run = m_world.run(m_world.exportCommand());
        if (mixesDatabases(before, database))
            return expectNothingIsLost(run);
        const auto leftAlone = chatsLeftAlone(before, database, run);
        compare(afterExport(before, database.chats, leftAlone), run);
        expect(run.code == (leftAlone.empty() ? 0 : 1), "the exit code", run);
    }

    /// The chats that the export reports to be from a different database.
    std::set<std::string> chatsLeftAlone(
        const Archive& before, const FreshDatabase& database, const HistoryRun& run)
    {
        std::set<std::string> guids;
        for (const FreshChat& chat : database.chats) {
            const auto errors = run.json[u"errors"].toArray();
            const bool reported = std::any_of(errors.begin(), errors.end(), [&](const auto& error) {
                return error.toString().startsWith(QString::fromStdString(chat.title + ": "));
            });
            const Origin origin = originOf(before, chat, database);
            expect(reported ? origin != Origin::SameDatabase : origin != Origin::DifferentDatabase,
                chat.guid + (reported ? " was left alone" : " was not left alone"), run);
            if (reported)
                guids.insert(chat.guid);
        }
        return guids;
    }

    void exportWithoutContacts()
    {
        note("export without an answer from the contacts");
        const Tree before = files();
        const HistoryRun run = m_world.exportWithoutContacts();
        expect(run.code == 1, "the exit code", run);
        expect(files() == before, "something was changed", run);
    }

    void check()
    {
        note("check");
        const FreshDatabase database = m_world.freshDatabase();
        const Archive archive = m_world.archive();
        const Tree before = files();
        const HistoryRun run = m_world.run(m_world.checkCommand());
        expect(files() == before, "the check changed something", run);
        if (archive.hasStrayFiles(database.chats))
            return; // which chat a stray file belongs to is not modelled
        bool whole = true;
        for (const FreshChat& chat : checkedChats(archive, database))
            whole = checkOne(archive, chat, database, run) && whole;
        expect(run.json[u"whole"].toBool() == whole, "\"whole\"", run);
        expect(run.code == (whole ? 0 : 1), "the exit code", run);
    }

    bool checkOne(const Archive& archive, const FreshChat& chat, const FreshDatabase& database,
        const HistoryRun& run)
    {
        if (!archive.known(chat.guid) && !archive.bytes(chat))
            return true;
        const auto counts = expectedCounts(archive, chat, database);
        const auto reported = run.json[u"chats"].toArray();
        const auto found = std::find_if(reported.begin(), reported.end(), [&](const auto& entry) {
            return entry.toObject()[u"guid"].toString().toStdString() == chat.guid;
        });
        expect(found != reported.end(), chat.guid + " is not reported", run);
        for (const auto& [key, count] : counts) {
            const auto actual = found == reported.end()
                ? -1
                : found->toObject()[QString::fromStdString(key)].toInteger(-1);
            expect(actual == count, chat.guid + ": \"" + key + "\" is not " + std::to_string(count),
                run);
        }
        return isIntact(counts);
    }

    void repair()
    {
        note("repair");
        finishRepair(m_world.archive());
    }

    void killARepair()
    {
        const Archive before = m_world.archive();
        note(m_world.runAndKill(m_world.repairCommand()) + ", then a repair");
        finishRepair(before);
    }

    void finishRepair(const Archive& before)
    {
        const FreshDatabase database = m_world.freshDatabase();
        const HistoryRun run = m_world.run(m_world.repairCommand());
        if (before.hasStrayFiles(database.chats)) {
            expectNothingIsLost(run);
            return;
        }
        compare(afterRepair(before, database), run);
        const HistoryRun second = m_world.run(m_world.checkCommand());
        const Archive after = m_world.archive();
        const auto checked = checkedChats(after, database);
        const bool whole = std::all_of(checked.begin(), checked.end(), [&](const FreshChat& chat) {
            return database.hasChat(chat.guid) || isIntact(expectedCounts(after, chat, database));
        });
        expect(second.code == (whole ? 0 : 1), "not whole after it", second);
        const Tree repaired = files();
        const HistoryRun again = m_world.run(m_world.repairCommand());
        expect(files() == repaired, "a second repair did something", again);
        const HistoryRun next = m_world.run(m_world.exportCommand());
        expect(next.code == 0, "the export after the repair failed", next);
        expectNothingIsLost(next);
    }

    /// Compares the files with the prediction.
    void compare(const Archive& expected, const HistoryRun& run)
    {
        const Archive actual = m_world.archive();
        expect(actual.files == expected.files && actual.kept == expected.kept
                && actual.unchecked == expected.unchecked,
            "the files are\n" + described(actual) + "but should be\n" + described(expected), run);
        expectNothingIsLost(run);
        expect(!fs::exists(m_world.support() / "export.journal"), "a journal is left", run);
    }

    void expectNothingIsLost(const HistoryRun& run)
    {
        const Texts texts = textsIn(m_world);
        for (const std::string& text : m_texts)
            expect(texts.contains(text), "lost: " + text, run);
        m_texts = texts;
    }

    /// All files, without the lock's: it notes the last holder.
    Tree files() const
    {
        const auto folders = m_world.folders();
        Tree tree = readTree({folders[0], folders[1], m_world.support()});
        tree.erase(m_world.support() / "export.lock");
        return tree;
    }

    void note(const std::string& step) { m_steps += "\n- " + step; }

    void expect(bool holds, const std::string& failure, const HistoryRun& run)
    {
        if (!holds && m_failure.empty())
            m_failure = failure + "\nOutput: " + run.output;
    }

    HistoryWorld m_world;
    std::string m_steps;
    std::string m_failure;
    Texts m_texts;
};

} // namespace

/// Random histories of a database and its archive: after each step, the files are what they have to
/// be, and nothing that was ever exported is lost. KORVANE_HISTORY_SECONDS is the time that the
/// test takes, KORVANE_HISTORY_SEED the seed of the first history, 1 by default, or "random"; the
/// next ones follow it.
class RandomHistoriesTest : public QObject {
    Q_OBJECT

private slots:
    void initTestCase()
    {
        if (fs::exists("/dev/shm"))
            qputenv("TMPDIR", "/dev/shm"); // the disk is simulated, so that memory will do
    }

    void anArchiveSurvivesEveryHistory()
    {
        const QByteArray chosen = qgetenv("KORVANE_HISTORY_SEED");
        const auto first = chosen == "random" ? QRandomGenerator::global()->generate() >> 1U
            : chosen.isEmpty()                ? 1
                                              : chosen.toUInt();
        const qint64 limit = fromEnvironment("KORVANE_HISTORY_SECONDS", usualSeconds) * 1000LL;
        QElapsedTimer timer;
        timer.start();
        quint32 seed = first;
        do {
            History history(seed++);
            if (!history.run())
                QFAIL((history.steps() + '\n' + history.failure()).c_str());
        } while (timer.elapsed() < limit);
        qInfo("%u histories from seed %u", seed - first, first);
    }
};

} // namespace korvane

QTEST_GUILESS_MAIN(korvane::RandomHistoriesTest)
#include "RandomHistoriesTest.moc"
