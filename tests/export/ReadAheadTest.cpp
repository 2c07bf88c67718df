#include "export/ReadAhead.h"
#include "export/ExportSetup.h"
#include "export/FileName.h"
#include "support/Printing.h"

#include <QRegularExpression>

#include <algorithm>
#include <map>
#include <random>
#include <stdexcept>
#include <thread>

using namespace std::string_literals;

namespace korvane {

namespace fs = std::filesystem;

namespace {

constexpr ReadAheadLimits oneThread{.threads = 0};

/// Reads ahead from the first chat on. Without room, only the chat that the export waits for is
/// read.
constexpr ReadAheadLimits withRoom{.threads = 2, .fromMessages = 0};
constexpr ReadAheadLimits withoutRoom{.threads = 2, .fromMessages = 0, .bytes = 0};

/// Leaves out epochs, which are random, also in the names of kept files, and the digests and the
/// folder in a journal.
std::string comparable(const std::string& text)
{
    static const QRegularExpression random(
        QStringLiteral("[0-9A-F]{8}(-[0-9A-F]{4}){3}-[0-9A-F]{12}|\"[0-9a-f]{64}\""
                       "|(?<=\"folder\":)\"[\\w-]+\""));
    return QString::fromStdString(text).remove(random).toStdString();
}

/// The files below a folder, with their contents.
std::string tree(const fs::path& folder)
{
    std::map<std::string, std::string> files;
    for (const auto& entry : fs::recursive_directory_iterator(folder)) {
        if (entry.is_regular_file())
            files[comparable(fs::relative(entry.path(), folder))] = readFile(entry.path());
    }
    std::string text;
    for (const auto& [name, bytes] : files) {
        text.append(name).append(": ");
        text.append(name.starts_with("support/") ? comparable(bytes) : bytes).append("\n\n");
    }
    return text;
}

/// What can be seen of a run: the folders before each chat and at the end, and the result.
struct Seen {
    std::vector<std::string> moments;
    std::string result;

    bool operator==(const Seen&) const = default;
};

using Work = std::function<void(std::size_t chat)>;

/// Two places to which the same database is exported, one on one thread and one with more.
class TwoPlaces {
public:
    explicit TwoPlaces(ExportSetup& setup) : m_setup(setup) { }

    fs::path place(int number) const
    {
        return m_setup.db.folder() + "/place" + std::to_string(number);
    }

    /// Ends the run before the chat at `end`. `beforeChat` is called before each.
    Seen run(int number, const SyncMode& mode, std::size_t end = 1000, const Work& work = {}) const
    {
        Seen seen;
        const fs::path here = place(number);
        fs::create_directories(here / "support");
        const auto beforeChat = [&](const ChatInfo&) {
            if (work)
                work(seen.moments.size());
            seen.moments.push_back(tree(here));
            return seen.moments.size() <= end;
        };
        const SyncResult result = Exporter::sync(m_setup.chats, m_setup.names, here / "export",
            SupportFolder(here / "support"), m_setup.db.path(), beforeChat, mode);
        seen.result = describe(result);
        for (const KeptFile& kept : result.kept)
            seen.result += "; kept " + comparable(kept.file) + std::to_string(kept.messages);
        seen.moments.push_back(tree(here));
        return seen;
    }

private:
    ExportSetup& m_setup;
};

/// Changes that a history of a few chats may have. All choices come from the seed.
class History {
public:
    History(ExportSetup& setup, const TwoPlaces& places, std::uint32_t seed)
        : m_setup(setup)
        , m_places(places)
        , m_random(seed)
    {
        m_setup.db.addHandle(1, "+15550101");
        const int chats = 2 + random(5);
        for (int id = 1; id <= chats; ++id) {
            m_setup.addChat(id, "Chat");
            addMessages(id);
        }
    }

    int random(int limit) { return static_cast<int>(m_random() % static_cast<unsigned>(limit)); }

    void change()
    {
        ChatInfo& chat = m_setup.chats.at(m_random() % m_setup.chats.size());
        const auto fileName = Exporter::exportFileName("Chat", chat.id);
        switch (random(8)) {
        case 0:
            chat.displayName = random(2) == 0 ? "Chat" : "Another";
            break;
        case 1:
            forBoth([&](const fs::path& place) { fs::remove(place / "export" / fileName); });
            break;
        case 2:
            forBoth([](const fs::path& place) { fs::remove(place / "support/state.json"); });
            break;
        case 3:
            m_setup.db.sql().execute("DELETE FROM chat_message_join WHERE message_id % 7 = "
                + std::to_string(random(7)));
            break;
        case 4:
            forBoth([&](const fs::path& place) { // a folder in the file's place
                fs::remove_all(place / "export" / fileName);
                fs::create_directories(place / "export" / fileName);
            });
            break;
        case 5:
            forBoth([&](const fs::path& place) { fs::remove_all(place / "export"); });
            break;
        default:
            addMessages(chat.id);
        }
    }

    ReadAheadLimits limits()
    {
        return {.threads = 1U + static_cast<unsigned>(random(3)),
            .fromMessages = random(3) == 0 ? random(300) : 0,
            .bytes = std::size_t{1} << static_cast<unsigned>(random(27))};
    }

private:
    void addMessages(std::int64_t chat)
    {
        const int size = random(3) == 0 ? 20'000 : 100;
        m_setup.db.sql().execute("BEGIN");
        for (int left = random(120); left > 0; --left) {
            TestDatabase::Message message{.text = std::string(m_random() % size, 'x')};
            message.date = 700'000'000 + random(1'000'000);
            if (m_last > 0 && random(5) == 0)
                message.threadGuid = "M" + std::to_string(1 + random(m_last));
            m_last = static_cast<int>(m_setup.db.addMessage(chat, message));
        }
        m_setup.db.sql().execute("COMMIT");
    }

    void forBoth(const std::function<void(const fs::path& place)>& work) const
    {
        work(m_places.place(1));
        work(m_places.place(2));
    }

    ExportSetup& m_setup;
    const TwoPlaces& m_places;
    std::mt19937 m_random;
    int m_last = 0;
};

/// Fills chats 1 to `count` with messages of 1,000 bytes.
void fill(ExportSetup& setup, int count, int messages)
{
    for (int id = 1; id <= count; ++id) {
        setup.addChat(id, "Chat");
        setup.addMessages(id, messages, std::string(1000, 'x'));
    }
}

/// Adds a chat whose reading never ends: a view in the place of the handles counts endless rows for
/// the handle of its message.
void addEndlessChat(ExportSetup& setup, std::int64_t id)
{
    setup.addChat(id, "Endless");
    setup.db.addHandle(99, "+15550199");
    setup.db.addMessage(id, {.handle = 99});
    setup.db.sql().execute(
        "ALTER TABLE handle RENAME TO handles; CREATE VIEW handle AS SELECT ROWID AS ROWID, "
        "CASE ROWID WHEN 99 THEN (WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n) "
        "SELECT COUNT(*) FROM n) ELSE id END AS id FROM handles");
}

/// The text of a guid that is on the last page of the index on the guids.
constexpr auto lastGuid = "Zzz, the last of all guids";

/// Overwrites the page of the index that has the last guid, without SQLite's knowledge.
void damageGuidIndex(ExportSetup& setup)
{
    constexpr std::size_t pageSize = 4096;
    constexpr char indexPage = 0x0a;
    std::string bytes = readFile(setup.db.path());
    std::size_t page = 0;
    for (auto at = bytes.find(lastGuid); at != bytes.npos; at = bytes.find(lastGuid, at + 1)) {
        if (bytes.at(at / pageSize * pageSize) == indexPage)
            page = at / pageSize * pageSize;
    }
    QVERIFY(page > 0);
    bytes.at(page) = 0x7f;
    writeFile(setup.db.path(), bytes);
}

/// One of them watches over the test.
std::ptrdiff_t threadsOfThisProcess()
{
    return std::distance(fs::directory_iterator("/proc/self/task"), fs::directory_iterator());
}

ReadAhead::Chats all(const ExportSetup& setup)
{
    ReadAhead::Chats chats;
    for (std::size_t i = 0; i < setup.chats.size(); ++i)
        chats[i] = {&setup.chats[i], setup.chats[i].displayName, 0};
    return chats;
}

std::string linesOf(const ExportSetup& setup, const ChatInfo& chat)
{
    MessagesDB db(setup.db.path());
    std::string lines;
    forEachRecordBlock(db, chat, chat.displayName, setup.names, 0,
        [&lines](const RecordBlock& block) { lines += block.lines; });
    return lines;
}

} // namespace

/// Exports that read ahead. Whatever can be seen of them is as with one thread.
class ReadAheadTest : public QObject {
    Q_OBJECT

private slots:
    void randomHistoriesLookAsWithOneThread()
    {
        const int histories = qEnvironmentVariableIntValue("KORVANE_READ_AHEAD_SEEDS");
        for (int seed = 1; seed <= std::max(10, histories); ++seed) {
            ExportSetup setup;
            const TwoPlaces places(setup);
            History history(setup, places, static_cast<std::uint32_t>(seed));
            for (int step = 0; step < 6; ++step) {
                SyncMode mode;
                if (history.random(4) == 0)
                    mode.restart = {ExportSetup::guid(1 + history.random(4))};
                const auto end = static_cast<std::size_t>(history.random(12));
                mode.readAhead = oneThread;
                const Seen expected = places.run(1, mode, end);
                mode.readAhead = history.limits();
                const Seen seen = places.run(2, mode, end);
                if (seen != expected)
                    qInfo("seed %d, step %d", seed, step);
                QCOMPARE(seen.result, expected.result);
                QVERIFY(seen == expected);
                history.change();
            }
        }
    }

    void aChatThatIsTwiceInTheListIsWrittenOnce()
    {
        ExportSetup setup;
        fill(setup, 2, 10);
        setup.chats.push_back(setup.chats.front());
        setup.mode.readAhead = withRoom;
        QCOMPARE(describe(setup.sync()), "added 20, touched 2"s);
        QCOMPARE(setup.rowIDs(1).size(), 10U);
    }

    void aDateOutOfRangeFailsTheRunAtItsChat()
    {
        ExportSetup setup;
        fill(setup, 3, 10);
        setup.db.sql().execute(
            "UPDATE message SET date = -9223372036854775807 - 1 WHERE ROWID = 15");
        setup.mode.readAhead = withRoom;
        QVERIFY_THROWS_EXCEPTION(std::overflow_error, setup.sync());
        QCOMPARE(ExportState::load(setup.support()).chats.size(), 1U);
        QCOMPARE(setup.rowIDs(1).size(), 10U);
    }

    void damageInTheMiddleOfAChatIsThatChatsError_data()
    {
        QTest::addColumn<ReadAheadLimits>("limits");
        QTest::newRow("one thread") << oneThread;
        QTest::newRow("reading ahead") << withRoom;
        QTest::newRow("reading ahead, without room") << withoutRoom;
    }

    void damageInTheMiddleOfAChatIsThatChatsError()
    {
        QFETCH(ReadAheadLimits, limits);
        ExportSetup setup;
        fill(setup, 3, 1000);
        setup.db.addMessage(3, {.guid = lastGuid});
        setup.mode.readAhead = limits;
        setup.sync();
        const std::string bytes = readFile(setup.file(2));
        for (const std::int64_t chat : {1, 2, 3})
            setup.addMessages(chat, 1000, std::string(1000, 'y'));
        setup.db.addMessage(2, {.date = 900'000'000, .threadGuid = lastGuid});
        damageGuidIndex(setup);
        QCOMPARE(describe(setup.sync()),
            "added 2000, touched 2; Chat: database disk image is malformed"s);
        QVERIFY(readFile(setup.file(2)) == bytes);
    }

    void whatFailsOnlyOnAnotherThreadIsReadAgain_data()
    {
        QTest::addColumn<ReadAheadLimits>("limits");
        QTest::newRow("reading ahead") << ReadAheadLimits{.threads = 2, .fromMessages = 1};
        QTest::newRow("reading ahead, without room")
            << ReadAheadLimits{.threads = 2, .fromMessages = 1, .bytes = 0};
    }

    void whatFailsOnlyOnAnotherThreadIsReadAgain()
    {
        QFETCH(ReadAheadLimits, limits);
        ExportSetup setup;
        setup.addChat(1, "First");
        setup.db.addMessage(1, {.threadGuid = lastGuid}); // puts the index page into the cache of
        setup.addChat(2, "Second"); // the calling thread, before it is damaged in the file
        setup.addMessages(2, 6000);
        setup.db.addMessage(2, {.guid = lastGuid, .date = 900'000'000, .threadGuid = lastGuid});
        setup.mode.readAhead = limits;
        const auto result = setup.sync([&setup](const ChatInfo& chat) {
            if (chat.id == 2)
                damageGuidIndex(setup);
            return true;
        });
        QCOMPARE(describe(result), "added 6002, touched 2"s);
        QCOMPARE(setup.rowIDs(2).size(), 6001U);
        QVERIFY(std::ranges::is_sorted(setup.rowIDs(2)));
        QCOMPARE(std::ranges::count(setup.rowIDs(2), 2), 1);
    }

    void aDatabaseThatIsPutInTheOthersPlaceIsNotRead_data()
    {
        QTest::addColumn<bool>("another");
        QTest::newRow("another database") << true;
        QTest::newRow("none") << false;
    }

    void aDatabaseThatIsPutInTheOthersPlaceIsNotRead()
    {
        QFETCH(bool, another);
        ExportSetup setup;
        fill(setup, 3, 10);
        ExportSetup other;
        fill(other, 3, 20);
        setup.mode.readAhead = withRoom;
        const auto result = setup.sync([&](const ChatInfo& chat) {
            if (chat.id == 1)
                fs::rename(setup.db.path(), setup.db.folder() + "/old.db");
            if (chat.id == 1 && another)
                fs::copy(other.db.path(), setup.db.path());
            return true;
        });
        QCOMPARE(describe(result), "added 30, touched 3"s);
    }

    void aChatThatStartsAgainIsReadWhenItsTurnComes()
    {
        ExportSetup setup;
        fill(setup, 2, 10);
        setup.sync();
        setup.mode = {.restart = {setup.guid(2)}, .readAhead = withRoom};
        const auto result = setup.sync([&setup](const ChatInfo& chat) {
            std::this_thread::sleep_for(std::chrono::milliseconds(50)); // for the threads
            if (chat.id == 2)
                setup.addMessages(2, 1);
            return true;
        });
        QCOMPARE(describe(result), "added 11, touched 1"s);
    }

    void anEndedRunWaitsForNoThread()
    {
        ExportSetup setup;
        fill(setup, 1, 10);
        addEndlessChat(setup, 2);
        setup.mode.readAhead = withRoom;
        const auto result = setup.sync([](const ChatInfo& chat) {
            if (chat.id == 2)
                std::this_thread::sleep_for(std::chrono::milliseconds(50));
            return chat.id == 1;
        });
        QCOMPARE(describe(result), "added 10, touched 1"s);
    }

    void aRunWithLittleToReadStartsNoThread()
    {
        if (!fs::exists("/proc/self/task"))
            QSKIP("This system does not list the threads of a process.");
        ExportSetup setup;
        fill(setup, 5, 100);
        setup.mode.readAhead = {.threads = 2, .fromMessages = 101, .bytes = 0};
        const auto threadsBeforeEachChat = [&setup] {
            std::vector<std::ptrdiff_t> threads;
            setup.sync([&threads](const ChatInfo&) {
                threads.push_back(threadsOfThisProcess());
                return true;
            });
            return threads;
        };
        const std::ptrdiff_t usual = threadsOfThisProcess();
        const std::vector<std::ptrdiff_t> none(5, usual);
        const auto first = threadsBeforeEachChat();
        QCOMPARE(std::vector(first.begin(), first.begin() + 3), std::vector(3, usual));
        QCOMPARE(first[3], usual + 2); // two chats with 200 messages are enough, one is not
        QCOMPARE(threadsOfThisProcess(), usual);
        QCOMPARE(threadsBeforeEachChat(), none); // nothing new
        for (ChatInfo& chat : setup.chats)
            chat.messageCount = 101;
        QCOMPARE(threadsBeforeEachChat(), none);
        fs::remove_all(setup.folder());
        QCOMPARE(threadsBeforeEachChat()[1], usual + 2);
        QCOMPARE(threadsOfThisProcess(), usual);
    }

    void preparedRecordsStayWithinTheLimit()
    {
        constexpr std::size_t limit = 4'000'000;
        ExportSetup setup;
        fill(setup, 40, 300);
        ReadAhead ahead(all(setup), setup.db.path(), setup.names, {.threads = 3, .bytes = limit});
        QTRY_VERIFY(ahead.bytes() > limit / 2); // then the threads wait
        for (std::size_t i = 0; i < setup.chats.size(); ++i) {
            QVERIFY(ahead.begin(i, 0));
            std::string lines;
            ahead.forEachBlock([&](const RecordBlock& block) {
                QVERIFY(ahead.bytes() <= limit);
                lines += block.lines;
            });
            QVERIFY(lines == linesOf(setup, setup.chats[i]));
        }
        QCOMPARE(ahead.bytes(), 0U);
    }

    void aChatThatIsLargerThanTheLimitIsStreamed()
    {
        constexpr std::size_t limit = 1'200'000;
        ExportSetup setup;
        fill(setup, 2, 3000);
        ReadAhead ahead(all(setup), setup.db.path(), setup.names, {.threads = 2, .bytes = limit});
        for (std::size_t i = 0; i < 2; ++i) {
            QVERIFY(ahead.begin(i, 0));
            std::string lines;
            ahead.forEachBlock([&](const RecordBlock& block) {
                std::this_thread::sleep_for(std::chrono::milliseconds(20)); // as a slow disk
                QVERIFY(ahead.bytes() <= limit);
                lines += block.lines;
            });
            QVERIFY(lines.size() > 2 * limit);
            QVERIFY(lines == linesOf(setup, setup.chats[i]));
        }
    }

    void onlyTheChatThatWasReadFromTheSameRowIsUsed()
    {
        ExportSetup setup;
        fill(setup, 3, 10);
        auto chats = all(setup);
        chats.erase(1);
        ReadAhead ahead(chats, setup.db.path(), setup.names, {.threads = 2});
        QVERIFY(!ahead.begin(0, 5));
        QVERIFY(!ahead.begin(1, 0));
        QVERIFY(ahead.begin(2, 0));
    }
};

} // namespace korvane

QTEST_APPLESS_MAIN(korvane::ReadAheadTest)
#include "ReadAheadTest.moc"
