#include "state/ExportNotices.h"
#include "state/StateSetup.h"
#include "support/Printing.h"

#include <QtTest/QTest>

using namespace korvane;

namespace fs = std::filesystem;

/// What the window tells apart from its status line.
class ExportNoticesTest : public QObject {
    Q_OBJECT

    using Texts = std::vector<std::string>;

private slots:
    void ordinaryRunTellsNothing()
    {
        ExportNotices notices;
        QVERIFY(notices.add({.added = 3, .chatsTouched = 1}).empty());
        QVERIFY(notices.add({.errors = {"Team: Is a directory"}}).empty());
        QCOMPARE(notices.warning(), std::string());
    }

    void keptFilesOfARunAreOneText()
    {
        ExportNotices notices;
        const SyncResult result{.kept = {{"Ann", 2, "Kept/Ann"}, {"Bo", 3, "Kept/Bo"}}};
        const Texts once{"Kept 5 messages that Messages no longer has: 2 files in Kept"};
        QCOMPARE(notices.add(result), once);
        QCOMPARE(notices.add(result), once); // another run with other files
    }

    void differentDatabaseIsToldOnce()
    {
        ExportNotices notices;
        const SyncResult foreign{.errors = {"Team: …"}, .foreignChats = 2};
        const Texts texts = notices.add(foreign);
        QCOMPARE(texts.size(), 1U);
        QVERIFY2(texts[0].find("different database") != std::string::npos, texts[0].c_str());
        QVERIFY2(texts[0].find("2 chats are not exported") != std::string::npos, texts[0].c_str());
        QVERIFY2(texts[0].find("check --repair") != std::string::npos, texts[0].c_str());
        QVERIFY2(texts[0].find("--folder") != std::string::npos, texts[0].c_str());
        QVERIFY2(notices.warning().find("different database") != std::string::npos,
            notices.warning().c_str());
        QVERIFY(notices.add(foreign).empty());
    }

    void oneChatIsSingular()
    {
        const Texts texts = ExportNotices().add({.errors = {"Team: …"}, .foreignChats = 1});
        QVERIFY2(texts.at(0).find("1 chat is not") != std::string::npos, texts[0].c_str());
    }

    void differentDatabaseIsToldAgainAfterARunWithoutIt()
    {
        ExportNotices notices;
        const SyncResult foreign{.errors = {"Team: …"}, .foreignChats = 2};
        notices.add(foreign);
        QVERIFY(notices.add({}).empty());
        QCOMPARE(notices.warning(), std::string());
        QCOMPARE(notices.add(foreign).size(), 1U);
    }

    void runThatFailsEndsNoWarning()
    {
        ExportNotices notices;
        const SyncResult foreign{.errors = {"Team: …"}, .foreignChats = 2};
        notices.add(foreign);
        const std::string warning = notices.warning();
        notices.add({.errors = {"Another export is running (korvane-sync, process 1)."}});
        QCOMPARE(notices.warning(), warning);
        QVERIFY(notices.add(foreign).empty());
    }

    void windowTellsOfFilesThatStayInKept_data()
    {
        QTest::addColumn<bool>("transfers");
        QTest::newRow("export") << false;
        QTest::newRow("transfer") << true;
    }

    void windowTellsOfFilesThatStayInKept()
    {
        QFETCH(const bool, transfers);
        StateSetup setup;
        setup.addChat(1, "Team", 5);
        AppState& state = setup.open();
        setup.select({1});
        Texts told;
        connect(&state, &AppState::notified, &state,
            [&told](const std::string& text) { told.push_back(text); });
        QVERIFY(setup.sync());
        QVERIFY(told.empty());

        setup.files.db.sql().execute("DELETE FROM chat_message_join WHERE message_id < 3;"
                                     "UPDATE chat SET display_name = 'Crew'");
        state.reloadChats();
        QTRY_COMPARE(state.titles().at(1), std::string("Crew"));
        transfers ? state.prepareTransfer() : state.syncNow();
        QVERIFY(setup.waitForExport());
        QCOMPARE(told.size(), 1U);
        const std::string beginning = "Kept 2 messages of Team that Messages no longer has: Kept/";
        QVERIFY2(told[0].starts_with(beginning), told[0].c_str());
        QVERIFY(fs::exists(setup.files.folder() / told[0].substr(beginning.size() - 5)));
        QVERIFY(setup.sync());
        QCOMPARE(told.size(), 1U);
    }
};

QTEST_GUILESS_MAIN(ExportNoticesTest)
#include "ExportNoticesTest.moc"
