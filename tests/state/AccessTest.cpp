#include "state/StateSetup.h"
#include "support/Printing.h"

#include <QtTest/QTest>

#include <functional>
#include <limits>

using namespace korvane;

namespace fs = std::filesystem;

/// Makes the set-up's database unreadable, and returns a function that undoes it.
using Break = std::function<std::function<void()>(StateSetup&)>;
Q_DECLARE_METATYPE(Break)

/// A database that cannot be read, and later can be read again.
class AccessTest : public QObject {
    Q_OBJECT

private slots:
    void databaseThatCannotBeReadNeedsAccess_data() { addBreaks(); }
    void databaseThatCannotBeReadNeedsAccess()
    {
        QFETCH(const Break, breaks);
        StateSetup setup;
        setup.addChat(1, "Team");
        breaks(setup);
        const AppState& state = setup.create();
        const Recorder recorder(state);
        QTRY_COMPARE(
            recorder.changes(), lines({"needsAccess: true", "status: Needs Full Disk Access"}));
        QVERIFY(state.needsAccess());
        QVERIFY(state.chats().empty());
    }

    void chatsStayWhileTheDatabaseIsAwayAndItIsBackAtTheNextReload_data() { addBreaks(); }
    void chatsStayWhileTheDatabaseIsAwayAndItIsBackAtTheNextReload()
    {
        QFETCH(const Break, breaks);
        StateSetup setup;
        setup.addChat(1, "Team");
        setup.addChat(2, "Family");
        AppState& state = setup.open();
        const auto chats = state.chats();
        const auto titles = state.titles();
        const auto mend = breaks(setup);
        Recorder recorder(state);
        state.reloadChats();
        QTRY_COMPARE(
            recorder.changes(), lines({"needsAccess: true", "status: Needs Full Disk Access"}));
        QVERIFY(state.chats() == chats);
        QVERIFY(state.titles() == titles);

        mend();
        recorder.clear();
        state.reloadChats();
        QTRY_COMPARE(recorder.changes(),
            lines({"needsAccess: false", "chats: 2", "status: 2 chats · 0 selected"}));
        QVERIFY(!state.needsAccess());
    }

    void databaseIsNotHeldOpen()
    {
        if (!fs::exists("/proc/self/fd"))
            QSKIP("no list of open descriptors here");
        StateSetup setup;
        setup.addChat(1, "Team");
        const fs::path elsewhere = setup.files.db.folder() + "/copy.db";
        fs::copy_file(setup.files.db.path(), elsewhere);
        setup.environment.database = elsewhere;
        setup.open();
        setup.select({1});
        QVERIFY(setup.sync());
        for (const auto& entry : fs::directory_iterator("/proc/self/fd")) {
            std::error_code gone;
            QVERIFY(fs::read_symlink(entry.path(), gone) != elsewhere);
        }
    }

    void needIsToldOnce()
    {
        StateSetup setup;
        remove(setup);
        AppState& state = setup.open();
        const Recorder recorder(state);
        state.reloadChats();
        state.reloadChats();
        StateSetup::settle();
        QCOMPARE(recorder.changes(), std::string());
        QVERIFY(state.needsAccess());
    }

private:
    static std::function<void()> remove(StateSetup& setup)
    {
        const fs::path file = setup.files.db.path();
        const fs::path aside = file.native() + ".aside";
        fs::rename(file, aside);
        return [file, aside] { fs::rename(aside, file); };
    }

    static std::function<void()> lock(StateSetup& setup)
    {
        setup.files.db.sql().execute("BEGIN EXCLUSIVE");
        return [&setup] { setup.files.db.sql().execute("COMMIT"); };
    }

    static std::function<void()> replace(StateSetup& setup, const std::string& contents)
    {
        const auto mend = remove(setup);
        const fs::path file = setup.files.db.path();
        writeFile(file, contents);
        return [mend, file] {
            fs::remove(file);
            mend();
        };
    }

    static std::function<void()> takeTableAway(StateSetup& setup)
    {
        setup.files.db.sql().execute("ALTER TABLE chat_handle_join RENAME TO aside");
        return [&setup] {
            setup.files.db.sql().execute("ALTER TABLE aside RENAME TO chat_handle_join");
        };
    }

    static std::function<void()> addDateOutOfRange(StateSetup& setup)
    {
        setup.files.db.addChat(90, "odd");
        setup.files.db.addMessage(90, {.date = std::numeric_limits<std::int64_t>::min()});
        return [&setup] { setup.files.db.sql().execute("DELETE FROM chat WHERE ROWID = 90"); };
    }

    static void addBreaks()
    {
        QTest::addColumn<Break>("breaks");
        QTest::newRow("missing") << Break(remove);
        QTest::newRow("locked by a writer") << Break(lock);
        QTest::newRow("no database")
            << Break([](StateSetup& setup) { return replace(setup, std::string(10'000, 'x')); });
        QTest::newRow("empty") << Break([](StateSetup& setup) { return replace(setup, ""); });
        QTest::newRow("without a table") << Break(takeTableAway);
        QTest::newRow("a date out of range") << Break(addDateOutOfRange);
    }
};

QTEST_GUILESS_MAIN(AccessTest)
#include "AccessTest.moc"
