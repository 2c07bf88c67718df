#include "export/ExportSetup.h"
#include "export/FileName.h"
#include "support/Printing.h"

#include <QElapsedTimer>
#include <QRandomGenerator>

#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <functional>
#include <iterator>
#include <optional>
#include <sstream>
#include <utility>

using namespace std::string_literals;

namespace korvane {

namespace fs = std::filesystem;

namespace {

constexpr int chatCount = 4;
const std::string nothing = "(no file)";

void fill(ExportSetup& setup, int messagesPerChat)
{
    for (int id = 1; id <= chatCount; ++id) {
        setup.addChat(id, "Chat");
        setup.addMessages(id, messagesPerChat, std::string(200, 'x'));
    }
}

/// Runs `work` in a child process and kills it after `delay` microseconds. Without a delay, `work`
/// has to kill its own process.
void runUntilKilled(const std::function<void()>& work, std::optional<useconds_t> delay = {})
{
    const pid_t child = ::fork();
    if (child == 0) {
        work();
        ::_exit(0);
    }
    if (delay) {
        ::usleep(*delay);
        ::kill(child, SIGKILL);
    }
    int status = 0;
    ::waitpid(child, &status, 0);
    QVERIFY(WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL);
}

/// A chat's row ids and records in the order in which a first export writes them.
using History = std::vector<std::pair<std::int64_t, std::string>>;

std::vector<History> historiesOf(const ExportSetup& setup)
{
    const QTemporaryDir elsewhere;
    const fs::path folder = elsewhere.path().toStdString() + "/export";
    const SupportFolder support(elsewhere.path().toStdString());
    Exporter::sync(setup.chats, setup.names, folder, support, setup.db.path());
    std::vector<History> histories;
    for (const ChatInfo& chat : setup.chats) {
        const auto file = folder / Exporter::exportFileName(chat.displayName, chat.id);
        const std::string bytes = readFile(file);
        const auto ids = rowIDsIn(bytes);
        History& history = histories.emplace_back();
        std::istringstream lines(bytes);
        for (std::string line; std::getline(lines, line);)
            history.emplace_back(ids.at(history.size()), line + '\n');
    }
    return histories;
}

/// The bytes of the state, and for each chat its file and what the next sync makes of it.
struct Disk {
    struct File {
        std::string bytes;
        std::string kept; ///< the bytes that a sync keeps
        std::string batch; ///< the bytes that it appends
    };

    std::string state;
    std::vector<File> files;
};

Disk::File fileOf(const ExportSetup& setup, const ChatInfo& chat, const ExportState& state,
    const History& history)
{
    const auto found = state.chats.find(chat.guid);
    const bool known = found != state.chats.end();
    const std::string name
        = known ? found->second.fileName : Exporter::exportFileName(chat.displayName, chat.id);
    Disk::File file{.bytes = readFile(setup.folder() / name)};
    const bool keeps = file.bytes != nothing && (!known || found->second.title == chat.displayName);
    const std::int64_t lastRowID = known && keeps ? found->second.lastRowID : 0;
    file.kept = keeps ? file.bytes : "";
    for (const auto& [rowID, line] : history)
        file.batch += rowID > lastRowID ? line : "";
    return file;
}

Disk diskOf(const ExportSetup& setup, const std::vector<History>& histories)
{
    Disk disk{.state = readFile(setup.stateFile())};
    const ExportState state = ExportState::load(setup.support());
    for (std::size_t i = 0; i < setup.chats.size(); ++i)
        disk.files.push_back(fileOf(setup, setup.chats[i], state, histories[i]));
    return disk;
}

bool isFinished(const Disk::File& before, const std::string& bytes)
{
    return bytes == before.kept + before.batch;
}

/// Whether a sync that starts from `before` and is killed may leave these bytes.
bool isOnTheWay(const Disk::File& before, const std::string& bytes)
{
    if (bytes == before.bytes)
        return true;
    if (bytes == nothing)
        return before.kept.empty();
    return bytes.starts_with(before.kept)
        && before.batch.starts_with(bytes.substr(before.kept.size()));
}

void checkWhatIsLeft(const Disk& before, const Disk& after)
{
    const bool saved = after.state != before.state;
    QVERIFY(after.state == nothing || ExportState::fromJson(after.state));
    bool reached = true; // chats after an unfinished one are untouched
    for (std::size_t i = 0; i < before.files.size(); ++i) {
        const std::string& bytes = after.files[i].bytes;
        QVERIFY(isOnTheWay(before.files[i], bytes));
        QVERIFY(!saved || isFinished(before.files[i], bytes));
        QVERIFY(reached || bytes == before.files[i].bytes);
        reached = reached && isFinished(before.files[i], bytes);
    }
}

/// What the killed run left is undone or complete, so nothing is there twice.
void checkTheNextRun(
    const ExportSetup& setup, const Disk& before, const std::vector<History>& histories)
{
    QVERIFY(setup.sync().errors.empty());
    const Disk after = diskOf(setup, histories);
    for (std::size_t i = 0; i < histories.size(); ++i) {
        QVERIFY(isFinished(before.files[i], after.files[i].bytes));
        QVERIFY(after.files[i].batch.empty());
        QCOMPARE(setup.record(setup.chats[i].id).lastRowID, histories[i].back().first);
    }
    const fs::directory_iterator support(setup.home());
    QCOMPARE(std::distance(begin(support), end(support)), 1); // no other file than the state
}

void startOver(const ExportSetup& setup)
{
    fs::remove_all(setup.folder());
    fs::remove(setup.stateFile());
}

/// Makes a random change that gives the next sync something to do.
void disturb(ExportSetup& setup, QRandomGenerator& random)
{
    const auto index = static_cast<std::size_t>(random.bounded(chatCount));
    ChatInfo& chat = setup.chats[index];
    switch (random.bounded(5)) {
    case 0:
        setup.addMessages(chat.id, 100, std::string(200, 'y'));
        break;
    case 1:
        chat.displayName += "+";
        break;
    case 2:
        fs::remove(setup.file(chat.id));
        break;
    case 3:
        fs::remove(setup.stateFile());
        break;
    default:
        startOver(setup);
    }
}

} // namespace

/// Exports that are killed (SIGKILL), and the runs after them.
class KilledExportTest : public QObject {
    Q_OBJECT

private slots:
    void killedBeforeAChatTheNextRunStartsFromTheOldState_data()
    {
        QTest::addColumn<std::size_t>("index");
        QTest::addColumn<bool>("known");
        for (std::size_t index = 0; index < chatCount; ++index) {
            QTest::addRow("before chat %zu of new ones", index + 1) << index << false;
            QTest::addRow("before chat %zu of known ones", index + 1) << index << true;
        }
    }

    void killedBeforeAChatTheNextRunStartsFromTheOldState()
    {
        QFETCH(std::size_t, index);
        QFETCH(bool, known);
        ExportSetup setup;
        fill(setup, 20);
        if (known)
            setup.sync();
        for (const ChatInfo& chat : setup.chats)
            setup.addMessages(chat.id, 5);
        const auto histories = historiesOf(setup);
        const Disk before = diskOf(setup, histories);
        runUntilKilled([&setup, index] {
            setup.sync([&setup, index](const ChatInfo& chat) {
                return chat.id != setup.chats[index].id || ::raise(SIGKILL) == 0;
            });
        });

        const Disk after = diskOf(setup, histories);
        QCOMPARE(after.state, before.state);
        for (std::size_t i = 0; i < chatCount; ++i) {
            QVERIFY(!before.files[i].batch.empty());
            QVERIFY(i < index ? isFinished(before.files[i], after.files[i].bytes)
                              : after.files[i].bytes == before.files[i].bytes);
        }
        checkTheNextRun(setup, before, histories);
    }

    void killedAtAnyMomentTheNextRunGoesOnFromTheState_data()
    {
        QTest::addColumn<ReadAheadLimits>("readAhead");
        QTest::newRow("on one thread") << ReadAheadLimits{.threads = 0};
        QTest::newRow("reading ahead") << ReadAheadLimits{.threads = 2, .fromMessages = 0};
    }

    void killedAtAnyMomentTheNextRunGoesOnFromTheState()
    {
        QFETCH(ReadAheadLimits, readAhead);
        constexpr int rounds = 30;
        const quint32 seed = QRandomGenerator::global()->generate();
        qInfo("seed %u", seed);
        QRandomGenerator random(seed);
        ExportSetup setup;
        setup.mode.readAhead = readAhead;
        fill(setup, 600);
        QElapsedTimer timer;
        timer.start();
        setup.sync();
        const auto duration = static_cast<int>(timer.nsecsElapsed() / 1000);

        int halfDone = 0;
        int done = 0;
        for (int round = 0; round < rounds; ++round) {
            disturb(setup, random);
            const auto histories = historiesOf(setup);
            const Disk before = diskOf(setup, histories);
            runUntilKilled(
                [&setup] {
                    for (;;)
                        setup.sync();
                },
                static_cast<useconds_t>(random.bounded(duration * 3 / 2)));
            const Disk after = diskOf(setup, histories);
            checkWhatIsLeft(before, after);
            checkTheNextRun(setup, before, histories);
            if (QTest::currentTestFailed())
                return;
            done += after.state != before.state;
            halfDone += after.state == before.state
                && !std::ranges::equal(
                    before.files, after.files, {}, &Disk::File::bytes, &Disk::File::bytes);
        }
        qInfo("%d half done, %d done of %d", halfDone, done, rounds);
    }
};

} // namespace korvane

QTEST_APPLESS_MAIN(korvane::KilledExportTest)
#include "KilledExportTest.moc"
