#include "state/Settings.h"
#include "state/StateSetup.h"
#include "support/Printing.h"

#include <QtTest/QTest>

using namespace korvane;

namespace fs = std::filesystem;

/// The user's choices, and the signals that report them.
class ChoicesTest : public QObject {
    Q_OBJECT

private slots:
    void toggleSelectsAndTakesOutAgain()
    {
        StateSetup setup;
        AppState& state = setup.open();
        state.setSelected({"gone"});
        const Recorder recorder(state);
        state.toggle("one");
        QCOMPARE(state.selected(), (std::set<std::string>{"gone", "one"}));
        state.toggle("one");
        QCOMPARE(state.selected(), std::set<std::string>{"gone"}); // other guids stay selected
        QCOMPARE(recorder.changes(), lines({"selected: 2", "selected: 1"}));
    }

    void choiceIsStoredBeforeOthersHearOfTheNext()
    {
        StateSetup setup;
        AppState& state = setup.open();
        connect(&state, &AppState::selectedChanged, &state, [&state] {
            if (state.selected().contains("first"))
                state.setSelected({"second"}); // reentrant: during the signal
        });
        state.setSelected({"first"});
        QCOMPARE(state.selected(), std::set<std::string>{"second"});
        QCOMPARE(Settings().selected(), std::set<std::string>{"second"});
    }

    void sameChoiceAgainIsNoChange()
    {
        StateSetup setup;
        AppState& state = setup.open();
        state.setSelected({"one"});
        const Recorder recorder(state);
        state.setSelected({"one"});
        state.setAutoSync(true);
        state.setOutputFolder(state.outputFolder());
        QCOMPARE(recorder.changes(), std::string());
    }

    void choicesAreTold()
    {
        StateSetup setup;
        AppState& state = setup.open();
        const Recorder recorder(state);
        state.setSelected({"one"});
        state.setAutoSync(false);
        state.setOutputFolder("/exports");
        QCOMPARE(recorder.changes(),
            lines({"selected: 1", "autoSync: false", "outputFolder: /exports"}));
    }

    void pickedFolderIsTakenAndStored()
    {
        StateSetup setup;
        fs::path beginning;
        setup.environment.pickFolder = [&beginning](const fs::path& folder) {
            beginning = folder;
            return std::optional<fs::path>("/picked/one");
        };
        AppState& state = setup.create();
        state.setOutputFolder("/exports/of mine");
        state.chooseFolder();
        QCOMPARE(beginning.native(), std::string("/exports"));
        QCOMPARE(state.outputFolder().native(), std::string("/picked/one"));
        QCOMPARE(Settings().folder().value().native(), std::string("/picked/one"));
        QVERIFY(!fs::exists("/picked"));
    }

    void pickingBeginsInTheFolderAround_data()
    {
        QTest::addColumn<QString>("folder");
        QTest::addColumn<QString>("around");
        QTest::newRow("plain") << "/a/b"
                               << "/a";
        QTest::newRow("at the top") << "/a"
                                    << "/";
        QTest::newRow("a slash at its end") << "/a/b/"
                                            << "/a";
    }

    void pickingBeginsInTheFolderAround()
    {
        QFETCH(const QString, folder);
        QFETCH(const QString, around);
        StateSetup setup;
        fs::path beginning;
        setup.environment.pickFolder = [&beginning](const fs::path& from) {
            beginning = from;
            return std::optional<fs::path>();
        };
        setup.create().setOutputFolder(folder.toStdString());
        setup.state().chooseFolder();
        QCOMPARE(QString::fromStdString(beginning.native()), around);
    }

    void cancelledPickingChangesNothing()
    {
        StateSetup setup;
        setup.environment.pickFolder = [](const fs::path&) { return std::optional<fs::path>(); };
        AppState& state = setup.create();
        const fs::path before = state.outputFolder();
        const Recorder recorder(state);
        state.chooseFolder();
        QCOMPARE(recorder.changes(), std::string());
        QCOMPARE(state.outputFolder().native(), before.native());
        QVERIFY(!Settings().folder());
    }

    void accessSettingsAreOpenedAtTheirPage()
    {
        StateSetup setup;
        QStringList opened;
        setup.environment.openUrl = [&opened](const QUrl& url) {
            opened << url.toString();
            return true;
        };
        AppState& state = setup.create();
        const Recorder recorder(state);
        state.openAccessSettings();
        QCOMPARE(opened,
            QStringList{QStringLiteral("x-apple.systempreferences:com.apple.preference.security"
                                       "?Privacy_AllFiles")});
        QCOMPARE(recorder.changes(), std::string());
    }

    void accessSettingsThatCannotBeOpenedAreReported()
    {
        StateSetup setup;
        setup.environment.openUrl = [](const QUrl&) { return false; };
        AppState& state = setup.create();
        const Recorder recorder(state);
        state.openAccessSettings();
        QCOMPARE(recorder.changes(),
            std::string("status: Could not open System Settings. Let this program read chat.db, "
                        "then try again.\n"));
    }

    void pictureOfAStateShowsWhatItIsGivenAndTouchesNothing()
    {
        StateSetup setup;
        AppState::Preview preview{.chats = {{.id = 7, .guid = "seven"}},
            .titles = {{7, "Seven"}},
            .selected = {"seven"},
            .outputFolder = "/exports",
            .status = "1 chats · 1 selected"};
        AppState state(std::move(preview));
        const Recorder recorder(state);
        StateSetup::settle();
        QCOMPARE(recorder.changes(), std::string());
        QCOMPARE(state.titles().at(7), std::string("Seven"));
        QCOMPARE(state.status(), std::string("1 chats · 1 selected"));
        state.toggle("seven");
        state.setAutoSync(false);
        state.setOutputFolder("/elsewhere");
        QVERIFY(!fs::exists(setup.settingsFile()));
        QVERIFY(fs::is_empty(setup.files.home()));
    }
};

QTEST_GUILESS_MAIN(ChoicesTest)
#include "ChoicesTest.moc"
