#include "state/StateSetup.h"
#include "storage/SupportLock.h"
#include "support/Printing.h"

#include <QtTest/QTest>

using namespace korvane;

namespace fs = std::filesystem;

/// Transfers that are refused or fail, and the statuses that say so.
class TransferRefusalsTest : public QObject {
    Q_OBJECT

private slots:
    void exactlyOneChatOfTheListMustBeSelected_data()
    {
        QTest::addColumn<std::set<std::string>>("selected");
        QTest::newRow("none") << std::set<std::string>{};
        QTest::newRow("two") << std::set{StateSetup::guid(1), StateSetup::guid(2)};
        QTest::newRow("one that is gone") << std::set<std::string>{"gone"};
        QTest::newRow("one and one that is gone") << std::set{StateSetup::guid(1), {"gone"}};
    }

    void exactlyOneChatOfTheListMustBeSelected()
    {
        QFETCH(const std::set<std::string>, selected);
        StateSetup setup;
        setup.addChat(2, "Family");
        AppState& state = opened(setup);
        state.setSelected(selected);
        const Recorder recorder(state);
        state.prepareTransfer();
        QCOMPARE(state.status(), std::string(exactlyOne)); // before the call returns
        StateSetup::settle();
        QCOMPARE(recorder.changes(), std::string("status: ") + exactlyOne + "\n");
        QVERIFY(!fs::exists(setup.files.folder()));
    }

    void refusalLeavesTheOldCode()
    {
        StateSetup setup;
        AppState& state = opened(setup);
        QCOMPARE(outcome(setup).substr(0, 7), std::string("status:"));
        const QImage code = state.transferQR().value();
        state.setSelected({});
        state.prepareTransfer();
        QCOMPARE(state.status(), std::string(exactlyOne));
        QVERIFY(state.transferQR() == code);
    }

    void withoutAccessNothingChanges()
    {
        StateSetup setup;
        AppState& state = opened(setup);
        fs::remove(setup.files.db.path());
        state.reloadChats();
        QTRY_VERIFY(state.needsAccess());
        const Recorder recorder(state);
        state.prepareTransfer();
        StateSetup::settle();
        QCOMPARE(recorder.changes(), std::string());
        QCOMPARE(setup.contacts->loads(), 1);
    }

    void withoutAccessTheSelectionIsStillLookedAtFirst()
    {
        StateSetup setup;
        AppState& state = opened(setup);
        fs::remove(setup.files.db.path());
        state.reloadChats();
        QTRY_VERIFY(state.needsAccess());
        state.setSelected({});
        state.prepareTransfer();
        QCOMPARE(state.status(), std::string(exactlyOne));
    }

    void duringARunNothingChanges()
    {
        StateSetup setup;
        AppState& state = opened(setup);
        const Recorder recorder(state);
        HeldExport held(setup.files);
        state.syncNow();
        state.prepareTransfer(); // while contacts are loaded
        QTRY_VERIFY(held.isReached());
        state.prepareTransfer();
        QCOMPARE(recorder.changes(), lines({"isSyncing: true"}));
        held.release();
        QTRY_COMPARE(state.status(), std::string("1 chats · 1 selected"));
        StateSetup::settle();
        QCOMPARE(recorder.count("isSyncing: true"), 1);
        QVERIFY(!state.transferChatTitle());
    }

    void duringATransfersExportNeitherRunNorTransferBegins()
    {
        StateSetup setup;
        AppState& state = opened(setup);
        const Recorder recorder(state);
        HeldExport held(setup.files);
        state.prepareTransfer();
        QTRY_VERIFY(held.isReached());
        state.prepareTransfer();
        state.syncNow();
        held.release();
        QTRY_COMPARE(state.status(), std::string(ready));
        StateSetup::settle();
        QCOMPARE(recorder.count("isSyncing: true"), 1);
        QCOMPARE(recorder.count("transferQR: image"), 1);
        QCOMPARE(setup.files.rowIDs(1).size(), 1U);
    }

    void exportThatFailsIsAnError()
    {
        StateSetup setup;
        const AppState& state = opened(setup);
        fs::create_directories(setup.exportFile(1, "Team") / "full");
        QCOMPARE(outcome(setup), lines({"status: Error: Team: Is a directory"}));
        QVERIFY(!state.transferQR());
        QCOMPARE(state.transferChatTitle().value(), std::string("Team"));
    }

    void databaseThatIsGoneIsAnError()
    {
        StateSetup setup;
        const AppState& state = opened(setup);
        fs::remove(setup.files.db.path());
        QCOMPARE(outcome(setup), lines({"status: Error: Can't open the Messages database."}));
        QVERIFY(!state.needsAccess()); // a transfer does not reload the chats
    }

    void exportOfAnotherProgramIsAnError()
    {
        StateSetup setup;
        opened(setup);
        const SupportLock other(setup.files.support());
        const std::string text = outcome(setup);
        QVERIFY2(text.starts_with("status: Error: Another export is running ("), text.c_str());
        QVERIFY(!fs::exists(setup.files.folder()));
    }

    void chatWhoseMessagesAreGoneHasNoExport()
    {
        StateSetup setup;
        const AppState& state = opened(setup);
        setup.files.db.sql().execute("DELETE FROM message");
        QCOMPARE(outcome(setup), lines({"status: The Korvane text export could not be found"}));
        QVERIFY(!state.transferQR());
    }

    void filesUpTo64MebibytesAreHandedOver_data()
    {
        QTest::addColumn<std::uintmax_t>("size");
        QTest::addColumn<std::string>("outcome");
        QTest::newRow("just as many")
            << largest
            << lines({"status: Starting secure local transfer…", "transferQR: image",
                   "status: Ready to scan · link expires in 10 minutes"});
        QTest::newRow("one byte more")
            << largest + 1
            << lines({"status: This export is over 64 MB. Choose a smaller date range before "
                      "transferring."});
    }

    void filesUpTo64MebibytesAreHandedOver()
    {
        QFETCH(const std::uintmax_t, size);
        QFETCH(const std::string, outcome);
        StateSetup setup;
        opened(setup);
        QVERIFY(setup.sync());
        fs::resize_file(setup.exportFile(1, "Team"), size); // a sparse file, which takes no room
        QCOMPARE(TransferRefusalsTest::outcome(setup), outcome);
        QCOMPARE(fs::file_size(setup.exportFile(1, "Team")), size);
    }

    void machineWithoutAnAddressHasNoLinkUntilItHasOne()
    {
        StateSetup setup;
        const auto address = std::make_shared<std::optional<std::string>>();
        setup.environment.localAddress = [address] { return *address; };
        const AppState& state = opened(setup);
        QCOMPARE(outcome(setup),
            lines({"status: Starting secure local transfer…", std::string("status: ") + noLink}));
        QVERIFY(!state.transferQR());
        *address = "127.0.0.1";
        QCOMPARE(outcome(setup), lines({"transferQR: image", std::string("status: ") + ready}));
    }

    void codeBeforeAnyTransferHasNoLink()
    {
        StateSetup setup;
        AppState& state = opened(setup);
        const Recorder recorder(state);
        state.makeTransferQR();
        QCOMPARE(recorder.changes(), std::string("status: ") + noLink + "\n");
    }

    void serverThatCannotListenLeavesTheCodeOut()
    {
        StateSetup setup;
        setup.environment.server.address = "192.0.2.1";
        AppState& state = opened(setup);
        state.prepareTransfer();
        QTRY_COMPARE(state.status(), std::string("Starting secure local transfer…"));
        StateSetup::settle();
        QCOMPARE(state.status(), std::string("Starting secure local transfer…"));
        state.makeTransferQR(); // exported, but the server has no port
        QCOMPARE(state.status(), std::string(noLink));
        QVERIFY(!state.transferQR());
    }

    void fileThatIsGoneByTheTimeOfTheLinkHasNone()
    {
        StateSetup setup;
        AppState& state = opened(setup);
        QVERIFY(outcome(setup).ends_with(std::string(ready) + "\n"));
        fs::remove(setup.exportFile(1, "Team"));
        state.makeTransferQR();
        QCOMPARE(state.status(), std::string(noLink));
    }

    void linkTooLongForACodeIsSaid()
    {
        StateSetup setup;
        setup.environment.localAddress = [] { return std::optional(std::string(3000, '1')); };
        const AppState& state = opened(setup);
        QCOMPARE(outcome(setup),
            lines({"status: Starting secure local transfer…",
                "status: Could not draw the transfer QR code"}));
        QVERIFY(!state.transferQR());
    }

    void failedTransferLeavesNoCodeOfTheOneBefore()
    {
        StateSetup setup;
        const AppState& state = opened(setup);
        QVERIFY(outcome(setup).ends_with(std::string(ready) + "\n"));
        fs::resize_file(setup.exportFile(1, "Team"), largest + 1);
        outcome(setup);
        QVERIFY(!state.transferQR());
    }

private:
    static constexpr auto exactlyOne = "Select exactly one chat to create its QR code";
    static constexpr auto noLink
        = "Could not create a transfer link. Check Wi-Fi and select one chat.";
    static constexpr auto ready = "Ready to scan · link expires in 10 minutes";
    static constexpr std::uintmax_t largest = 67'108'864;

    /// Prepares the transfer of the selected chat. Returns the changes after the export, up to the
    /// first status that does not end with "…".
    static std::string outcome(StateSetup& setup)
    {
        AppState& state = setup.state();
        const Recorder recorder(state);
        state.prepareTransfer();
        const bool ended = QTest::qWaitFor([&] {
            return recorder.count("isSyncing: false") == 1 && !state.status().ends_with("…");
        });
        const std::string changes = recorder.changes();
        const std::string end = "isSyncing: false\n";
        return ended ? changes.substr(changes.find(end) + end.size()) : "(no end) " + changes;
    }

    /// Adds a chat "Team" as number 1, opens a state and selects that chat.
    static AppState& opened(StateSetup& setup)
    {
        setup.addChat(1, "Team");
        AppState& state = setup.open();
        setup.select({1});
        return state;
    }
};

QTEST_GUILESS_MAIN(TransferRefusalsTest)
#include "TransferRefusalsTest.moc"
