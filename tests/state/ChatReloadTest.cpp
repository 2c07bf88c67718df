#include "messages/Sqlite.h"
#include "state/StateSetup.h"
#include "support/Printing.h"
#include "support/StatementWatch.h"

#include <QtTest/QTest>

using namespace korvane;

namespace fs = std::filesystem;

using namespace std::chrono_literals;

/// Reloads of the list of chats: when they query the database and when they know that nothing has
/// changed, which must not make a difference to anything else. The time that the state compares
/// with those of the files is a minute ahead, and advances by half a minute with each pass.
class ChatReloadTest : public QObject {
    Q_OBJECT

private slots:
    void initTestCase() { Sqlite::configureProcess(); }

    void init()
    {
        *m_now = Clock::now() + 1min;
        m_watch.emplace();
        m_setup.emplace();
        m_setup->environment.now = [now = m_now] { return now->load(); };
    }

    void cleanup()
    {
        m_setup.reset();
        m_watch.reset();
    }

    void unchangedDatabaseIsQueriedOnce()
    {
        openWithChat();
        QCOMPARE(listings(), 1);
        for (int i = 0; i < 3; ++i)
            QVERIFY(pass());
        QCOMPARE(listings(), 1);
        QCOMPARE(StatementWatch::runs(participants), 1);
    }

    void unchangedDatabaseIsOpenedAndProbed()
    {
        openWithChat();
        const int probes = StatementWatch::runs(probe);
        state().reloadChats();
        QTRY_COMPARE(StatementWatch::runs(probe), probes + 1);
        QCOMPARE(listings(), 1);
    }

    void passWithoutChangesSignalsWhatAPassWithChangesDoes()
    {
        openWithChat();
        QVERIFY(pass()); // the first one exports
        const Recorder unchanged(state());
        QVERIFY(pass());
        const std::string changes = lines({"isSyncing: true", "isSyncing: false",
            "status: Up to date · " + StateSetup::timeText(), "chats: 1",
            "status: 1 chats · 1 selected"});
        QCOMPARE(unchanged.changes(), changes);
        QCOMPARE(listings(), 1);
        touchDatabase();
        const Recorder changed(state());
        QVERIFY(pass());
        QCOMPARE(changed.changes(), changes);
        QCOMPARE(listings(), 2);
    }

    void newMessageIsListedAndExported()
    {
        openWithChat();
        QVERIFY(pass());
        m_setup->files.addMessages(1, 2);
        QVERIFY(pass());
        QCOMPARE(state().chats().at(0).messageCount, 3);
        QCOMPARE(m_setup->files.rowIDs(1).size(), 3U);
    }

    void messageInTheLogIsListedAndExported()
    {
        m_setup->files.db.sql().execute("PRAGMA journal_mode = WAL; PRAGMA wal_autocheckpoint = 0");
        openWithChat();
        QVERIFY(pass());
        QCOMPARE(listings(), 1);
        m_setup->files.addMessages(1, 2);
        QVERIFY(pass());
        QCOMPARE(state().chats().at(0).messageCount, 3);
        QCOMPARE(m_setup->files.rowIDs(1).size(), 3U);
        QVERIFY(pass());
        QCOMPARE(listings(), 2);
    }

    void messageThatArrivesDuringTheListingIsListedNext()
    {
        m_setup->files.db.sql().execute("PRAGMA journal_mode = WAL; PRAGMA wal_autocheckpoint = 0");
        m_setup->addChat(1, "Team");
        StatementWatch::onFirstRow(list, [this] { m_setup->files.addMessages(1, 1); });
        m_setup->open();
        QCOMPARE(state().chats().at(0).messageCount, 1);
        advance();
        state().reloadChats();
        QTRY_COMPARE(state().chats().at(0).messageCount, 2);
    }

    void newChatIsListed()
    {
        openWithChat();
        QVERIFY(pass());
        m_setup->addChat(2, "Family");
        QVERIFY(pass());
        QCOMPARE(state().chats().size(), 2U);
        QCOMPARE(state().status(), std::string("2 chats · 1 selected"));
    }

    void renamedContactIsNoticed()
    {
        m_setup->addChatWith(1, "+12025550178");
        m_setup->open();
        m_setup->select({1});
        QVERIFY(pass());
        QCOMPARE(state().titles().at(1), std::string("+12025550178"));
        m_setup->contacts->add("+12025550178", "Ann");
        QVERIFY(pass());
        QCOMPARE(listings(), 1);
        QCOMPARE(state().titles().at(1), std::string("Ann"));
        QCOMPARE(m_setup->files.record(1).title, std::optional<std::string>("Ann"));
    }

    void deletedExportFileIsWrittenAgain()
    {
        openWithChat();
        QVERIFY(pass());
        fs::remove(m_setup->exportFile(1, "Team"));
        QVERIFY(pass());
        QCOMPARE(listings(), 1);
        QCOMPARE(m_setup->files.rowIDs(1).size(), 1U);
    }

    void changedSelectionIsNoticed()
    {
        m_setup->addChat(2, "Family");
        openWithChat();
        QVERIFY(pass());
        m_setup->select({1, 2});
        QVERIFY(pass());
        QCOMPARE(listings(), 1);
        QVERIFY(fs::exists(m_setup->exportFile(2, "Family")));
        QCOMPARE(state().status(), std::string("2 chats · 2 selected"));
    }

    void withdrawnAccessIsNoticedWithoutAChange()
    {
        openWithChat();
        QVERIFY(pass());
        m_setup->files.db.sql().execute("BEGIN EXCLUSIVE"); // locks, and writes nothing
        advance();
        state().reloadChats();
        QTRY_VERIFY(state().needsAccess());
        QCOMPARE(state().status(), std::string("Needs Full Disk Access"));
        QCOMPARE(state().chats().size(), 1U);
        m_setup->files.db.sql().execute("ROLLBACK");
        advance();
        state().reloadChats();
        QTRY_VERIFY(!state().needsAccess());
        QCOMPARE(state().status(), std::string("1 chats · 1 selected"));
    }

    void listThatCannotBeReadIsTriedAgain()
    {
        m_setup->files.db.sql().execute("ALTER TABLE handle RENAME TO away");
        m_setup->open();
        QVERIFY(state().needsAccess());
        for (int i = 1; i < 3; ++i) {
            QCOMPARE(StatementWatch::runs(probe), i);
            advance();
            const Recorder recorder(state());
            state().reloadChats();
            QTRY_COMPARE(StatementWatch::runs(probe), i + 1);
            StateSetup::settle();
            QCOMPARE(recorder.changes(), std::string());
        }
    }

    void databaseIsQueriedAgainAfterHalfAnHour()
    {
        openWithChat();
        advance(29min);
        QVERIFY(pass());
        QCOMPARE(listings(), 1);
        QVERIFY(pass());
        QCOMPARE(listings(), 2);
        QVERIFY(pass());
        QCOMPARE(listings(), 2);
    }

    void databaseThatWasJustWrittenIsQueriedAgain()
    {
        *m_now = Clock::now() - 1min; // the files are newer
        openWithChat();
        QVERIFY(pass());
        QCOMPARE(listings(), 2);
    }

private:
    using Clock = std::chrono::system_clock;

    static constexpr const char* list = "SELECT c.ROWID, c.guid";
    static constexpr const char* participants = "SELECT j.chat_id, h.id";
    static constexpr const char* probe = "SELECT 1 FROM message LIMIT 1";

    AppState& state() { return m_setup->state(); }

    static int listings() { return StatementWatch::runs(list); }

    void openWithChat()
    {
        m_setup->addChat(1, "Team");
        m_setup->open();
        m_setup->select({1});
    }

    void advance(Clock::duration by = 30s) { *m_now = m_now->load() + by; }

    /// Advances by 30 seconds, exports and reloads.
    bool pass()
    {
        advance();
        return m_setup->sync();
    }

    void touchDatabase()
    {
        fs::last_write_time(m_setup->files.db.path(), fs::file_time_type::clock::now());
    }

    std::shared_ptr<std::atomic<Clock::time_point>> m_now
        = std::make_shared<std::atomic<Clock::time_point>>();
    std::optional<StatementWatch> m_watch;
    std::optional<StateSetup> m_setup;
};

QTEST_GUILESS_MAIN(ChatReloadTest)
#include "ChatReloadTest.moc"
