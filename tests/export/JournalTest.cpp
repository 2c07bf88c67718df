#include "export/Journal.h"
#include "export/ExportSetup.h"
#include "support/Printing.h"

#include <QTemporaryDir>

using namespace std::string_literals;

namespace korvane {

namespace fs = std::filesystem;

/// The rollback journal: what a run that finds one does.
class JournalTest : public QObject {
    Q_OBJECT

private slots:
    void init()
    {
        m_home = std::make_unique<QTemporaryDir>();
        fs::create_directories(folder());
        fs::create_directories(support().path());
        writeFile(state(), "old state");
        writeFile(folder() / "grown", "12345");
        writeFile(folder() / "moved", "old");
        journal().write({{"grown", 5, ""}, {"new", {}, ""}, {"moved", 3, "moved.unchecked"},
            {"untouched", 7, ""}});
    }

    void undoesAGroupWhoseStateWasNotSaved()
    {
        change();
        Journal::recover(support());
        QCOMPARE(readFile(folder() / "grown"), "12345"s);
        QVERIFY(!fs::exists(folder() / "new"));
        QCOMPARE(readFile(folder() / "moved"), "old"s);
        QVERIFY(!fs::exists(folder() / "Kept/moved.unchecked"));
        QVERIFY(!fs::exists(file()));
    }

    /// The user may have put it back since the run was killed.
    void newFileMovesToKept()
    {
        const std::string name = "Ann (7) Korvane Wrapped.jsonl.txt";
        journal().write({{name, {}, ""}, {"empty", {}, ""}, {"link", {}, ""}});
        writeFile(folder() / name, "records");
        writeFile(folder() / "empty", "");
        fs::create_symlink("grown", folder() / "link");
        Journal::recover(support());
        QCOMPARE(readFile(folder() / "Kept/Ann (7) without epoch.jsonl.txt.unchecked"), "records"s);
        QVERIFY(!fs::exists(folder() / name));
        QVERIFY(!fs::exists(folder() / "empty"));
        QCOMPARE(readFile(folder() / "link"), "12345"s);
    }

    void newFileStaysIfItCannotMoveToKept()
    {
        journal().write({{"new", {}, ""}});
        writeFile(folder() / "new", "records");
        writeFile(folder() / "Kept", "a file");
        QVERIFY_THROWS_EXCEPTION(Journal::CannotRecover, Journal::recover(support()));
        QCOMPARE(readFile(folder() / "new"), "records"s);
        QVERIFY(fs::exists(file()));
    }

    void processThatBeganANewFileDeletesIt()
    {
        writeFile(folder() / "new", "new");
        journal().undo({"new", {}, ""});
        QVERIFY(!fs::exists(folder() / "new"));
        QVERIFY(!fs::exists(folder() / "Kept"));
    }

    void undoesHalfAGroup()
    {
        writeFile(folder() / "grown", "123456");
        fs::create_directories(folder() / "Kept");
        fs::rename(folder() / "moved", folder() / "Kept/moved.unchecked");
        Journal::recover(support());
        QCOMPARE(readFile(folder() / "grown"), "12345"s);
        QCOMPARE(readFile(folder() / "moved"), "old"s);
    }

    void undoingTwiceIsTheSame()
    {
        change();
        const std::string bytes = readFile(file());
        Journal::recover(support());
        writeFile(file(), bytes);
        Journal::recover(support());
        QCOMPARE(readFile(folder() / "grown"), "12345"s);
        QCOMPARE(readFile(folder() / "moved"), "old"s);
    }

    void leavesAGroupWhoseStateWasSaved()
    {
        change();
        writeFile(state(), "new state");
        Journal::recover(support());
        QCOMPARE(readFile(folder() / "grown"), "1234567"s);
        QCOMPARE(readFile(folder() / "new"), "new"s);
        QCOMPARE(readFile(folder() / "moved"), "other"s);
        QVERIFY(!fs::exists(file()));
    }

    void journalThatIsNotCompleteUndoesNothing_data()
    {
        QTest::addColumn<std::size_t>("size");
        for (const std::size_t size : {0, 1, 10, 66, 67, 68, 100, 200})
            QTest::addRow("%zu bytes", size) << size;
    }

    void journalThatIsNotCompleteUndoesNothing()
    {
        QFETCH(std::size_t, size);
        change();
        const std::string bytes = readFile(file());
        QVERIFY(bytes.size() > 200);
        writeFile(file(), bytes.substr(0, size));
        Journal::recover(support());
        QCOMPARE(readFile(folder() / "grown"), "1234567"s);
        QVERIFY(!fs::exists(file()));
    }

    void journalWithAnyChangedByteUndoesNothing()
    {
        change();
        const std::string bytes = readFile(file());
        for (std::size_t i = 0; i < bytes.size(); ++i) {
            std::string changed = bytes;
            changed[i] = static_cast<char>(changed[i] ^ 1);
            writeFile(file(), changed);
            Journal::recover(support());
            QCOMPARE(readFile(folder() / "grown"), "1234567"s);
        }
    }

    void journalThatCannotBeReadIsNotIgnored()
    {
        fs::remove(file());
        fs::create_directory(file());
        QVERIFY_THROWS_EXCEPTION(Journal::CannotRecover, Journal::recover(support()));
    }

    void folderThatIsNotThereEndsTheRun()
    {
        change();
        fs::rename(folder(), root() / "elsewhere");
        QVERIFY_THROWS_EXCEPTION(Journal::CannotRecover, Journal::recover(support()));
        QVERIFY(fs::exists(file()));
        fs::rename(root() / "elsewhere", folder());
        Journal::recover(support());
        QCOMPARE(readFile(folder() / "grown"), "12345"s);
    }

    /// As while the drive with the export folder is not connected.
    void emptyMountPointEndsTheRun()
    {
        change();
        fs::rename(folder(), root() / "elsewhere");
        fs::create_directory(folder());
        QVERIFY_THROWS_EXCEPTION(Journal::CannotRecover, Journal::recover(support()));
        QVERIFY(fs::exists(file()));
        fs::remove(folder());
        fs::rename(root() / "elsewhere", folder());
        Journal::recover(support());
        QCOMPARE(readFile(folder() / "grown"), "12345"s);
    }

    void folderThatIsStillEmptyAfterAFirstExportHasNothingToUndo()
    {
        journal().write({{"new", {}, ""}});
        fs::remove_all(folder());
        fs::create_directory(folder());
        Journal::recover(support());
        QVERIFY(!fs::exists(file()));
    }

    void copyThatTheUserPutBackStays()
    {
        change();
        const auto longAgo = fs::file_time_type::clock::now() - std::chrono::hours(48);
        fs::last_write_time(folder() / "new", longAgo);
        fs::last_write_time(folder() / "grown", longAgo);
        Journal::recover(support());
        QCOMPARE(readFile(folder() / "new"), "new"s);
        QCOMPARE(readFile(folder() / "grown"), "1234567"s);
        QCOMPARE(readFile(folder() / "moved"), "old"s);
    }

    void fileNameFromTheStateStaysInTheFolder()
    {
        const fs::path outside = root() / "outside";
        writeFile(outside, "mine");
        journal().write({{outside.string(), {}, ""}, {"grown", 5, ""}});
        Journal::recover(support());
        QCOMPARE(readFile(outside), "mine"s);
    }

    void folderMayHaveANameThatIsNotUtf8()
    {
        const fs::path other = root() / "caf\xE9";
        fs::create_directories(other);
        writeFile(other / "grown", "12345");
        const Journal there(other, support());
        there.write({{"grown", 2, ""}});
        Journal::recover(support());
        QCOMPARE(readFile(other / "grown"), "12"s);
    }

    void folderMayBeRelative()
    {
        const fs::path here = fs::current_path();
        fs::current_path(root());
        const Journal there("export", support());
        there.write({{"grown", 2, ""}});
        fs::create_directories(root() / "elsewhere/export");
        fs::current_path(root() / "elsewhere");
        Journal::recover(support());
        fs::current_path(here);
        QCOMPARE(readFile(folder() / "grown"), "12"s);
    }

    void onlyTheOwnerMayReadIt() { QCOMPARE(fs::status(file()).permissions(), fs::perms(0600)); }

private:
    void change() const
    {
        writeFile(folder() / "grown", "1234567");
        writeFile(folder() / "new", "new");
        fs::create_directories(folder() / "Kept");
        fs::rename(folder() / "moved", folder() / "Kept/moved.unchecked");
        writeFile(folder() / "moved", "other");
    }

    fs::path root() const { return m_home->path().toStdString(); }
    fs::path folder() const { return root() / "export"; }
    SupportFolder support() const { return SupportFolder(root() / "support"); }
    fs::path state() const { return root() / "support/state.json"; }
    fs::path file() const { return root() / "support/export.journal"; }
    Journal journal() const { return Journal(folder(), support()); }

    std::unique_ptr<QTemporaryDir> m_home;
};

} // namespace korvane

QTEST_APPLESS_MAIN(korvane::JournalTest)
#include "JournalTest.moc"
