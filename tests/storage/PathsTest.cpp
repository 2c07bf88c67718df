#include "storage/Paths.h"
#include "support/Printing.h"

#include <QTemporaryDir>

#include <fstream>
#include <memory>

namespace korvane {

namespace fs = std::filesystem;

/// The locations of the support folder and of the default export folder.
class PathsTest : public QObject {
    Q_OBJECT

private slots:
    void init()
    {
        m_folder = std::make_unique<QTemporaryDir>();
        m_root = fs::canonical(m_folder->path().toStdString());
        m_data = m_root / "data";
        m_here = fs::current_path();
        qunsetenv("KORVANE_SYNC_HOME");
        qputenv("HOME", QByteArray::fromStdString(m_root.string()));
        qputenv("XDG_DATA_HOME", QByteArray::fromStdString(m_data.string()));
    }

    void cleanup() { fs::current_path(m_here); }

    void variableNamesTheFolder_data()
    {
        QTest::addColumn<std::string>("name");
        QTest::newRow("a new folder") << std::string("new");
        QTest::newRow("a new folder in new folders") << std::string("a/b/c");
        QTest::newRow("a slash at the end") << std::string("a/");
        QTest::newRow("blanks and other letters") << std::string(" a \u00C4\u4E09 ");
        QTest::newRow("an existing folder") << std::string(".");
    }

    void variableNamesTheFolder()
    {
        QFETCH(std::string, name);
        const std::string folder = m_root.string() + "/" + name;
        qputenv("KORVANE_SYNC_HOME", QByteArray::fromStdString(folder));
        QCOMPARE(Paths::support().path().string(), folder);
        QVERIFY(fs::is_directory(folder));
        QVERIFY(!fs::exists(m_data));
    }

    void relativeVariableCountsFromTheCurrentFolder_data()
    {
        QTest::addColumn<std::string>("value");
        QTest::newRow("a name") << std::string("support");
        QTest::newRow("a path") << std::string("a/support");
        QTest::newRow("no meaning in a tilde") << std::string("~/support");
        QTest::newRow("no meaning in a variable") << std::string("$HOME/support");
    }

    void relativeVariableCountsFromTheCurrentFolder()
    {
        QFETCH(std::string, value);
        qputenv("KORVANE_SYNC_HOME", QByteArray::fromStdString(value));
        for (const char* name : {"one", "two"}) {
            fs::create_directory(m_root / name);
            fs::current_path(m_root / name);
            QCOMPARE(Paths::support().path().string(), (m_root / name / value).string());
            QVERIFY(fs::is_directory(m_root / name / value));
        }
    }

    void emptyVariableMeansTheCurrentFolder()
    {
        qputenv("KORVANE_SYNC_HOME", "");
        QVERIFY(qEnvironmentVariableIsSet("KORVANE_SYNC_HOME"));
        fs::current_path(m_root);
        QCOMPARE(Paths::support().path().string(), m_root.string());
        QVERIFY(!fs::exists(m_data));
    }

    void variableIsReadEachTime()
    {
        for (const char* name : {"one", "two"}) {
            qputenv("KORVANE_SYNC_HOME", QByteArray::fromStdString((m_root / name).string()));
            QCOMPARE(Paths::support().path().string(), (m_root / name).string());
        }
        qunsetenv("KORVANE_SYNC_HOME");
        QCOMPARE(Paths::support().path().string(), (m_data / "KorvaneSync").string());
    }

    void variableStopsTheMigration()
    {
        write(m_data / "QuorvishSync/state.json");
        write(m_root / "QuorvishSync/state.json");
        qputenv("KORVANE_SYNC_HOME", QByteArray::fromStdString((m_root / "KorvaneSync").string()));
        QVERIFY(fs::is_empty(Paths::support().path()));
        QVERIFY(!fs::exists(m_data / "KorvaneSync"));
    }

    void withoutVariableItIsInTheApplicationData()
    {
        QCOMPARE(Paths::support().path().string(), (m_data / "KorvaneSync").string());
        QVERIFY(fs::is_empty(m_data / "KorvaneSync"));
        QVERIFY(!fs::exists(m_data / "QuorvishSync"));
    }

    void applicationDataFollowsTheHomeFolder()
    {
#ifdef Q_OS_MACOS
        QSKIP("the Mac tells its folders by user, not by variable");
#endif
        qunsetenv("XDG_DATA_HOME");
        QCOMPARE(Paths::support().path().string(), (m_root / ".local/share/KorvaneSync").string());
    }

    void firstAccessMigrates()
    {
        write(m_data / "QuorvishSync/state.json");
        write(m_data / "QuorvishSync/pairing.json");
        const fs::path support = Paths::support().path();
        for (const fs::path& folder : {support, m_data / "QuorvishSync"}) {
            QVERIFY(fs::exists(folder / "state.json"));
            QVERIFY(fs::exists(folder / "pairing.json"));
        }
    }

    void laterAccessDoesNotMigrateAgain()
    {
        write(m_data / "QuorvishSync/state.json");
        fs::remove(Paths::support().path() / "state.json");
        write(m_data / "QuorvishSync/late.json");
        QVERIFY(fs::is_empty(Paths::support().path()));
    }

    void askingWhetherItExistsCreatesNothing()
    {
        QVERIFY(!Paths::support().exists());
        QVERIFY(!fs::exists(m_data / "KorvaneSync"));
        write(m_data / "QuorvishSync/state.json");
        QVERIFY(Paths::support().exists());
        QVERIFY(!fs::exists(m_data / "KorvaneSync"));
        fs::remove_all(m_data / "QuorvishSync");
        write(m_data / "KorvaneSync/state.json");
        QVERIFY(Paths::support().exists());
    }

    void existingFolderKeepsItsFiles()
    {
        write(m_data / "KorvaneSync/state.json");
        QVERIFY(fs::exists(Paths::support().path() / "state.json"));
    }

    void namesThatAreNotUtf8KeepTheirBytes()
    {
#ifdef Q_OS_MACOS
        QSKIP("names on a Mac are valid UTF-8");
#endif
        const fs::path home = m_root / "caf\xE9";
        qputenv("HOME", QByteArray::fromStdString(home.string()));
        qunsetenv("XDG_DATA_HOME");
        QVERIFY(Paths::support().path() == home / ".local/share/KorvaneSync");
        QVERIFY(fs::is_directory(home / ".local/share/KorvaneSync"));
        QVERIFY(Paths::defaultFolder() == home / "Documents/Quorvish");
        qputenv("XDG_DATA_HOME", QByteArray::fromStdString((home / "data").string()));
        QVERIFY(Paths::support().path() == home / "data/KorvaneSync");
    }

    void folderIsFixedWhereItIsDetermined()
    {
        qputenv("KORVANE_SYNC_HOME", "support");
        fs::current_path(m_root);
        const SupportFolder support = Paths::support();
        QVERIFY(!fs::exists(m_root / "support")); // until it is used
        fs::create_directory(m_root / "elsewhere");
        fs::current_path(m_root / "elsewhere");
        qputenv("KORVANE_SYNC_HOME", "another");
        for (int i = 0; i < 2; ++i) { // made again if it was removed
            QCOMPARE(support.file("state.json").string(), (m_root / "support/state.json").string());
            QVERIFY(fs::remove(m_root / "support"));
        }
    }

    void folderThatCannotBeMadeIsReturnedAllTheSame()
    {
        write(m_root / "file");
        for (const char* name : {"file", "file/below"}) {
            const std::string folder = (m_root / name).string();
            qputenv("KORVANE_SYNC_HOME", QByteArray::fromStdString(folder));
            QCOMPARE(Paths::support().path().string(), folder);
        }
        QVERIFY(fs::is_regular_file(m_root / "file"));

        qunsetenv("KORVANE_SYNC_HOME");
        write(m_data / "KorvaneSync"); // a file in place of the folder
        QCOMPARE(Paths::support().path().string(), (m_data / "KorvaneSync").string());
    }

    void exportsGoToTheCloudWhereThereIsOne_data()
    {
        QTest::addColumn<std::string>("existing");
        QTest::addColumn<std::string>("folder");
        const std::string cloud = "Library/Mobile Documents/com~apple~CloudDocs";
        const std::string documents = "Documents/Quorvish";
        QTest::newRow("nothing") << std::string(".") << documents;
        QTest::newRow("the cloud's folder") << cloud << cloud + "/Quorvish";
        QTest::newRow("its parent alone") << std::string("Library/Mobile Documents") << documents;
        QTest::newRow("documents") << std::string("Documents") << documents;
    }

    void exportsGoToTheCloudWhereThereIsOne()
    {
        QFETCH(std::string, existing);
        QFETCH(std::string, folder);
        fs::create_directories(m_root / existing);
        QCOMPARE(Paths::defaultFolder().string(), (m_root / folder).string());
    }

    void defaultFolderIsNotCreated()
    {
        const fs::path folder = Paths::defaultFolder();
        QVERIFY(!fs::exists(folder));
        QVERIFY(!fs::exists(folder.parent_path()));

        write(m_root / "Library/Mobile Documents/com~apple~CloudDocs"); // only existence counts
        QCOMPARE(Paths::defaultFolder().string(),
            (m_root / "Library/Mobile Documents/com~apple~CloudDocs/Quorvish").string());
    }

private:
    void write(const fs::path& file) const
    {
        fs::create_directories(file.parent_path());
        std::ofstream(file) << "contents";
        QVERIFY(fs::exists(file));
    }

    std::unique_ptr<QTemporaryDir> m_folder;
    fs::path m_root;
    fs::path m_data;
    fs::path m_here;
};

} // namespace korvane

QTEST_APPLESS_MAIN(korvane::PathsTest)
#include "PathsTest.moc"
