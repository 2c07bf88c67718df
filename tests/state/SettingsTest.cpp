#include "state/Settings.h"
#include "state/StateSetup.h"
#include "support/Printing.h"

#include <QTemporaryDir>
#include <QtTest/QTest>

using namespace korvane;

namespace fs = std::filesystem;

using Guids = std::set<std::string>;

/// What the settings keep from one run of the program to the next.
class SettingsTest : public QObject {
    Q_OBJECT

private slots:
    void initTestCase()
    {
        const QTemporaryDir config;
        qputenv("XDG_CONFIG_HOME", config.path().toUtf8());
        Settings().setAutoSync(false);
        QVERIFY(fs::exists(config.path().toStdString() + "/KorvaneSync/KorvaneSync.ini"));
    }

    void emptyStoreGivesTheDefaults()
    {
        StateSetup setup;
        const AppState& state = setup.create();
        QVERIFY(state.selected().empty());
        QVERIFY(state.autoSync());
        QCOMPARE(state.outputFolder().native(), setup.home().native() + "/Documents/Quorvish");
        QVERIFY(!fs::exists(state.outputFolder()));
    }

    void defaultFolderIsInTheCloudDocumentsWhereThereAreAny_data()
    {
        QTest::addColumn<bool>("isFile");
        QTest::newRow("a folder") << false;
        QTest::newRow("a file of that name") << true;
    }

    void defaultFolderIsInTheCloudDocumentsWhereThereAreAny()
    {
        QFETCH(const bool, isFile);
        StateSetup setup;
        const fs::path cloud = setup.home() / "Library/Mobile Documents/com~apple~CloudDocs";
        fs::create_directories(isFile ? cloud.parent_path() : cloud);
        if (isFile)
            writeFile(cloud, "");
        QCOMPARE(AppState::defaultFolder().native(), cloud.native() + "/Quorvish");
        QCOMPARE(setup.create().outputFolder().native(), cloud.native() + "/Quorvish");
    }

    void nothingIsStoredBeforeSomethingIsChosen()
    {
        StateSetup setup;
        setup.addChat(1, "Team");
        setup.create();
        QTRY_COMPARE(setup.state().status(), std::string("1 chats · 0 selected"));
        setup.close();
        QVERIFY(!fs::exists(setup.settingsFile()));
    }

    void eachChoiceIsStoredUnderItsKeyAndNoOther()
    {
        StateSetup setup;
        AppState& state = setup.create();
        state.setSelected({"one"});
        state.setAutoSync(false);
        state.setOutputFolder("/exports");
        const std::string expected = "[General]\nautoSync=false\nfolder=/exports\nselected=one\n";
        QTRY_COMPARE(readFile(setup.settingsFile()), expected); // without waiting for the exit
    }

    void choiceIsStoredBeforeTheCallReturns()
    {
        StateSetup setup;
        AppState& state = setup.create();
        state.setAutoSync(false);
        QVERIFY(!Settings().autoSync());
        state.setAutoSync(true);
        QVERIFY(Settings().autoSync());
        state.toggle("one");
        QCOMPARE(Settings().selected(), Guids{"one"});
        state.toggle("one");
        QCOMPARE(Settings().selected(), Guids());
        state.setOutputFolder("/exports");
        QCOMPARE(Settings().folder().value().native(), std::string("/exports"));
    }

    void selectionIsFoundAgain_data()
    {
        QTest::addColumn<Guids>("guids");
        QTest::newRow("none") << Guids{};
        QTest::newRow("one") << Guids{"iMessage;-;+15550100"};
        QTest::newRow("many") << Guids{"iMessage;-;+15550100", "SMS;+;chat1", "iMessage;+;chat2"};
        QTest::newRow("with a comma") << Guids{"a, b"};
        QTest::newRow("like the store's own words") << Guids{"@Invalid()", "@@", "true"};
        QTest::newRow("quoted") << Guids{"\"a\"", "\\b\\", "%20", "[c]", "d=e"};
        QTest::newRow("foreign letters") << Guids{"日本", "Zoë", "🙂"};
        QTest::newRow("line ends") << Guids{"a\nb", "c\r"};
        QTest::newRow("an empty one") << Guids{""};
        QTest::newRow("an empty one among others") << Guids{"", "a"};
        QTest::newRow("blanks around it") << Guids{" a "};
    }

    void selectionIsFoundAgain()
    {
        QFETCH(const Guids, guids);
        StateSetup setup;
        setup.create().setSelected({"something", "else"});
        setup.state().setSelected(guids);
        setup.close();
        QVERIFY(fs::exists(setup.settingsFile())); // the next state reads this file
        QVERIFY(setup.create().selected() == guids);
    }

    void autoSyncIsFoundAgain()
    {
        StateSetup setup;
        setup.create().setAutoSync(false);
        QVERIFY(!setup.create().autoSync());
        setup.state().setAutoSync(true);
        QVERIFY(setup.create().autoSync());
    }

    void folderIsFoundAgain_data()
    {
        QTest::addColumn<QString>("folder");
        QTest::newRow("plain") << "/exports";
        QTest::newRow("one that does not exist") << "/nowhere/at/all";
        QTest::newRow("blanks and foreign letters") << "/Ünï cödé 日本 's, \"x\"; y";
        QTest::newRow("like the store's own words") << "@/a";
    }

    void folderIsFoundAgain()
    {
        QFETCH(const QString, folder);
        const fs::path chosen = folder.toStdString();
        StateSetup setup;
        setup.create().setOutputFolder(chosen);
        QCOMPARE(setup.create().outputFolder().native(), chosen.native());
        QVERIFY(!fs::exists(chosen));
    }

    void storedTextsAreRead_data()
    {
        QTest::addColumn<std::string>("lines");
        QTest::addColumn<Guids>("selected");
        QTest::addColumn<bool>("autoSync");
        QTest::addColumn<std::string>("folder");
        const Guids none;
        const std::string usual;
        QTest::newRow("all keys") << std::string("selected=a, b\nautoSync=false\nfolder=/e\n")
                                  << Guids{"a", "b"} << false << std::string("/e");
        QTest::newRow("0 for false") << std::string("autoSync=0") << none << false << usual;
        QTest::newRow("1 for true") << std::string("autoSync=1") << none << true << usual;
        QTest::newRow("autoSync no boolean") << std::string("autoSync=no") << none << true << usual;
        QTest::newRow("autoSync a number") << std::string("autoSync=2") << none << true << usual;
        QTest::newRow("autoSync a list")
            << std::string("autoSync=false, false") << none << true << usual;
        QTest::newRow("autoSync empty") << std::string("autoSync=") << none << true << usual;
        QTest::newRow("selected a point")
            << std::string("selected=@Point(1 2)") << none << true << usual;
        QTest::newRow("folder a list") << std::string("folder=/a, /b") << none << true << usual;
        QTest::newRow("folder a point")
            << std::string("folder=@Point(1 2)") << none << true << usual;
        QTest::newRow("keys of others") << std::string("Folder2=/e\n") << none << true << usual;
        QTest::newRow("no settings at all") << std::string("\0\xff{", 3) << none << true << usual;
    }

    void storedTextsAreRead()
    {
        QFETCH(const std::string, lines);
        QFETCH(const Guids, selected);
        QFETCH(const bool, autoSync);
        QFETCH(const std::string, folder);
        StateSetup setup;
        store(setup, lines);
        const AppState& state = setup.create();
        QVERIFY(state.selected() == selected);
        QCOMPARE(state.autoSync(), autoSync);
        const std::string usual = AppState::defaultFolder().native();
        QCOMPARE(state.outputFolder().native(), folder.empty() ? usual : folder);
    }

    void keysOfOthersStay()
    {
        StateSetup setup;
        store(setup, "later=kept\nautoSync=false\n");
        setup.create().setAutoSync(true);
        setup.close();
        QCOMPARE(stored(setup, "later"), std::string("kept"));
        QCOMPARE(stored(setup, "autoSync"), std::string("true"));
    }

    void storeThatCannotBeWrittenStopsNothing()
    {
        StateSetup setup;
        writeFile(setup.settingsFile().parent_path(), "a file in the folder's place");
        AppState& state = setup.create();
        state.setAutoSync(false);
        state.setSelected({"one"});
        QTRY_COMPARE(state.status(), std::string("0 chats · 1 selected"));
        QVERIFY(!state.autoSync());
    }

private:
    /// Writes the settings file directly, as another program could.
    static void store(const StateSetup& setup, const std::string& lines)
    {
        fs::create_directories(setup.settingsFile().parent_path());
        writeFile(setup.settingsFile(), "[General]\n" + lines);
    }

    static std::string stored(const StateSetup& setup, const char* key)
    {
        const QSettings file(
            QString::fromStdString(setup.settingsFile().native()), QSettings::IniFormat);
        return file.value(QLatin1String(key)).toString().toStdString();
    }
};

QTEST_GUILESS_MAIN(SettingsTest)
#include "SettingsTest.moc"
