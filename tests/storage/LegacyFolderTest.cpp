#include "storage/Paths.h"
#include "support/Printing.h"
#include "support/Unprivileged.h"

#include <QTemporaryDir>

#include <sys/stat.h>

#include <fstream>
#include <memory>

namespace korvane {

namespace fs = std::filesystem;

namespace {

std::string contents(const fs::path& file)
{
    std::ifstream stream(file);
    return {std::istreambuf_iterator<char>(stream), {}};
}

} // namespace

/// The one-time copy of an earlier version's support folder.
class LegacyFolderTest : public QObject {
    Q_OBJECT

private slots:
    void init()
    {
        m_folder = std::make_unique<QTemporaryDir>();
        useFolder(*m_folder);
    }

    void copiesFilesAndLeavesTheOldOnes()
    {
        write(m_from / "state.json", "{\"state\":1}");
        write(m_from / "pairing.json", "{\"pairing\":1}");
        write(m_from / "empty", "");
        migrate();
        for (const fs::path& folder : {m_from, m_to}) {
            QCOMPARE(contents(folder / "state.json"), "{\"state\":1}");
            QCOMPARE(contents(folder / "pairing.json"), "{\"pairing\":1}");
            QVERIFY(fs::exists(folder / "empty"));
        }
    }

    void copiesHiddenEntriesAndWholeFolders()
    {
        write(m_from / ".hidden");
        write(m_from / ".folder/file");
        write(m_from / "a/b/c/deep", "deep");
        write(m_from / "a/b/.deep", "hidden");
        write(m_from / "\u00C4 \xFF", "odd");
        fs::create_directory(m_from / "a/empty");
        migrate();
        QVERIFY(fs::exists(m_to / ".hidden"));
        QVERIFY(fs::exists(m_to / ".folder/file"));
        QCOMPARE(contents(m_to / "a/b/c/deep"), "deep");
        QCOMPARE(contents(m_to / "a/b/.deep"), "hidden");
        QCOMPARE(contents(m_to / "\u00C4 \xFF"), "odd");
        QVERIFY(fs::is_directory(m_to / "a/empty"));
        fs::remove_all(m_from); // QTemporaryDir cannot remove the odd name
        fs::remove_all(m_to);
    }

    void copiesLinksAsLinks()
    {
        write(m_from / "state.json");
        write(m_from / "a/file");
        fs::create_symlink("state.json", m_from / "link");
        fs::create_symlink("nowhere", m_from / "dangling");
        fs::create_directory_symlink("a", m_from / "folder");
        fs::create_directory_symlink("..", m_from / "a/loop");
        migrate();
        QCOMPARE(fs::read_symlink(m_to / "link").string(), "state.json");
        QCOMPARE(fs::read_symlink(m_to / "dangling").string(), "nowhere");
        QCOMPARE(fs::read_symlink(m_to / "folder").string(), "a");
        QCOMPARE(fs::read_symlink(m_to / "a/loop").string(), "..");
        QVERIFY(fs::exists(m_to / "folder/file"));
    }

    void keepsPermissions()
    {
        write(m_from / "pairing.json");
        fs::permissions(m_from / "pairing.json", fs::perms(0600));
        migrate();
        QVERIFY(fs::status(m_to / "pairing.json").permissions() == fs::perms(0600));
    }

    void existingDestinationEndsIt_data()
    {
        QTest::addColumn<QString>("kind");
        for (const char* kind : {"empty folder", "filled folder", "file", "link to a folder"})
            QTest::newRow(kind) << QString::fromLatin1(kind);
    }

    void existingDestinationEndsIt()
    {
        QFETCH(QString, kind);
        write(m_from / "state.json");
        const fs::path elsewhere = m_to.parent_path() / "elsewhere";
        fs::create_directory(elsewhere);
        if (kind == QStringLiteral("file"))
            write(m_to, "a file");
        else if (kind == QStringLiteral("link to a folder"))
            fs::create_directory_symlink(elsewhere, m_to);
        else
            fs::create_directory(m_to);
        if (kind == QStringLiteral("filled folder"))
            write(m_to / "other.json");
        migrate();
        QVERIFY(!fs::exists(m_to / "state.json"));
        QVERIFY(fs::is_empty(elsewhere));
        if (kind == QStringLiteral("file"))
            QCOMPARE(contents(m_to), "a file");
    }

    void missingSourceCreatesNothing()
    {
        migrate();
        QVERIFY(!fs::exists(m_to));
        QVERIFY(!fs::exists(m_from));
    }

    void emptySourceCreatesAnEmptyFolder()
    {
        fs::create_directory(m_from);
        migrate();
        QVERIFY(fs::is_directory(m_to));
        QVERIFY(fs::is_empty(m_to));
    }

    void sourceThatIsAFileCreatesAnEmptyFolder()
    {
        write(m_from);
        migrate();
        QVERIFY(fs::is_directory(m_to));
        QVERIFY(fs::is_empty(m_to));
    }

    void sourceMayBeALink()
    {
        write(m_from.parent_path() / "real/state.json");
        fs::create_directory_symlink("real", m_from);
        migrate();
        QVERIFY(fs::exists(m_to / "state.json"));
        QVERIFY(!fs::is_symlink(m_to));
    }

    void createsParents()
    {
        write(m_from / "state.json");
        m_to = m_to / "in/folders";
        migrate();
        QVERIFY(fs::exists(m_to / "state.json"));
    }

    void entryThatCannotBeReadIsSkipped()
    {
        const Unprivileged user;
        if (!user.works())
            QSKIP("needs a user whom permissions stop");
        const QTemporaryDir own;
        useFolder(own);
        for (int i = 0; i < 10; ++i)
            write(m_from / std::to_string(i));
        write(m_from / "folder/below");
        fs::permissions(m_from / "4", fs::perms::none);
        fs::permissions(m_from / "folder", fs::perms::none);
        migrate();
        fs::permissions(m_from / "folder", fs::perms::owner_all);
        for (int i = 0; i < 10; ++i)
            QCOMPARE(contents(m_to / std::to_string(i)), i == 4 ? "" : "contents");
        QVERIFY(fs::exists(m_from / "folder/below"));
    }

    void entryThatCannotBeCopiedIsSkipped()
    {
        for (int i = 0; i < 10; ++i)
            write(m_from / std::to_string(i));
        QCOMPARE(mkfifo((m_from / "pipe").c_str(), 0600), 0);
        migrate();
        for (int i = 0; i < 10; ++i)
            QVERIFY(fs::exists(m_to / std::to_string(i)));
        QVERIFY(fs::is_fifo(m_from / "pipe"));
    }

    void folderThatCannotBeListedCreatesAnEmptyFolder()
    {
        const Unprivileged user;
        if (!user.works())
            QSKIP("needs a user whom permissions stop");
        const QTemporaryDir own;
        useFolder(own);
        write(m_from / "state.json");
        fs::permissions(m_from, fs::perms::none);
        migrate();
        fs::permissions(m_from, fs::perms::owner_all);
        QVERIFY(fs::is_directory(m_to));
        QVERIFY(fs::is_empty(m_to));
    }

    void destinationThatCannotBeMadeIsNotReported()
    {
        write(m_from / "state.json");
        fs::create_symlink("nowhere/at all", m_to);
        migrate();
        QVERIFY(fs::exists(m_from / "state.json"));
        QVERIFY(!fs::exists(m_to));

        write(m_to.parent_path() / "file");
        m_to = m_to.parent_path() / "file/KorvaneSync";
        migrate();
        QVERIFY(!fs::exists(m_to));
    }

private:
    void write(const fs::path& file, const std::string& contents = "contents") const
    {
        fs::create_directories(file.parent_path());
        std::ofstream(file) << contents;
        QVERIFY(fs::exists(file));
    }

    void useFolder(const QTemporaryDir& folder)
    {
        m_from = fs::path(folder.path().toStdString()) / "QuorvishSync";
        m_to = fs::path(folder.path().toStdString()) / "KorvaneSync";
    }

    void migrate() const { Paths::migrateLegacyFolder(m_from, m_to); }

    std::unique_ptr<QTemporaryDir> m_folder;
    fs::path m_from;
    fs::path m_to;
};

} // namespace korvane

QTEST_APPLESS_MAIN(korvane::LegacyFolderTest)
#include "LegacyFolderTest.moc"
