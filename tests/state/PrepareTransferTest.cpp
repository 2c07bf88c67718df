#include "pairing/ReadBack.h"
#include "pairing/TransferLink.h"
#include "server/Client.h"
#include "state/StateSetup.h"
#include "support/Printing.h"
#include "support/SealedByOthers.h"

#include <QtTest/QTest>

using namespace korvane;

namespace fs = std::filesystem;

/// Transfers, from the button to the phone's request.
class PrepareTransferTest : public QObject {
    Q_OBJECT

private slots:
    void firstTransferStartsTheServerAndShowsTheCodeByItself()
    {
        StateSetup setup;
        setup.addChat(1, "Team");
        AppState& state = setup.open();
        setup.select({1});
        const Recorder recorder(state);
        state.prepareTransfer();
        QVERIFY(state.isSyncing()); // before the call returns
        QTRY_COMPARE(recorder.changes(),
            lines({"isSyncing: true", "transferChatTitle: Team", "status: Preparing selected chat…",
                "isSyncing: false", "status: Starting secure local transfer…", "transferQR: image",
                "status: Ready to scan · link expires in 10 minutes"}));
        StateSetup::settle();
        QCOMPARE(state.status(), std::string(ready)); // no reload replaced it
    }

    void laterTransfersUseTheSamePort()
    {
        StateSetup setup;
        setup.addChat(1, "Team");
        setup.addChat(2, "Family");
        AppState& state = setup.open();
        QVERIFY(transfer(setup, 1));
        const TransferLink first = scanned(state);
        const Recorder recorder(state);
        QVERIFY(transfer(setup, 2));
        QCOMPARE(recorder.changes(),
            lines({"selected: 1", "isSyncing: true", "transferQR: none",
                "transferChatTitle: Family", "status: Preparing selected chat…", "isSyncing: false",
                "transferQR: image", "status: Ready to scan · link expires in 10 minutes"}));
        const TransferLink second = scanned(state);
        QCOMPARE(second.port, first.port);
        QVERIFY(second.ticket != first.ticket);
        QVERIFY(!(second.key == first.key));
    }

    void phoneGetsTheFileByteForByte()
    {
        StateSetup setup;
        setup.addChat(1, "Team", 500);
        AppState& state = setup.open();
        QVERIFY(transfer(setup, 1));
        const TransferLink link = scanned(state);
        QCOMPARE(link.host, std::string("127.0.0.1"));
        QCOMPARE(readBack(*state.transferQR()).value(), link.toString()); // byte for byte
        const Response response = fetched(link);
        QCOMPARE(response.status, 200);
        QCOMPARE(opened(link, response), readFile(setup.exportFile(1, "Team")));
        QCOMPARE(setup.files.rowIDs(1).size(), 500U);
    }

    void pictureIsSquareAndSharp()
    {
        StateSetup setup;
        setup.addChat(1, "Team");
        const AppState& state = setup.open();
        QVERIFY(transfer(setup, 1));
        const QImage& picture = state.transferQR().value();
        QCOMPARE(picture.deviceIndependentSize(), QSizeF(320, 320));
        QVERIFY(picture.width() >= 2 * 320); // for screens with two pixels per point
    }

    void chatIsExportedAsItIsNow()
    {
        StateSetup setup;
        setup.addChat(1, "Team");
        AppState& state = setup.open();
        QVERIFY(transfer(setup, 1));
        setup.files.addMessages(1, 2);
        QVERIFY(transfer(setup, 1));
        const TransferLink link = scanned(state);
        QCOMPARE(opened(link, fetched(link)), readFile(setup.exportFile(1, "Team")));
        QCOMPARE(setup.files.rowIDs(1).size(), 3U);
    }

    void onlyTheChatOfTheLastTransferIsOnOffer()
    {
        StateSetup setup;
        setup.addChat(1, "Team");
        setup.addChat(2, "Family");
        AppState& state = setup.open();
        QVERIFY(transfer(setup, 1));
        const TransferLink first = scanned(state);
        QCOMPARE(fetched(first).status, 200);
        QVERIFY(transfer(setup, 2));
        QVERIFY(fetched(first).status != 200);
        const TransferLink second = scanned(state);
        QCOMPARE(opened(second, fetched(second)), readFile(setup.exportFile(2, "Family")));
    }

    void titleIsThatOfTheContactsAsTheyAreNow()
    {
        StateSetup setup;
        setup.addChatWith(1, "+15550100");
        AppState& state = setup.open();
        setup.contacts->add("+1 (555) 0100", "Ann");
        QVERIFY(transfer(setup, 1));
        QCOMPARE(state.transferChatTitle().value(), std::string("Ann"));
        QCOMPARE(setup.files.record(1).title.value(), std::string("Ann"));
        QCOMPARE(setup.contacts->loads(), 2);
        QCOMPARE(state.titles().at(1), std::string("+15550100")); // until the next reload
    }

    void oldCodeIsTakenDownAtOnce()
    {
        StateSetup setup;
        setup.addChat(1, "Team");
        AppState& state = setup.open();
        QVERIFY(transfer(setup, 1));
        setup.contacts->hold();
        state.prepareTransfer();
        QVERIFY(!state.transferQR());
        QCOMPARE(state.transferChatTitle().value(), std::string("Team"));
        setup.contacts->release();
        QTRY_VERIFY(state.transferQR());
    }

    void chatOfTheBeginningIsTransferred()
    {
        StateSetup setup;
        setup.addChat(1, "Team");
        setup.addChat(2, "Family");
        AppState& state = setup.open();
        setup.select({1});
        setup.contacts->hold();
        state.prepareTransfer();
        setup.select({2});
        setup.contacts->release();
        QTRY_VERIFY(state.transferQR());
        const TransferLink link = scanned(state);
        QCOMPARE(opened(link, fetched(link)), readFile(setup.exportFile(1, "Team")));
        QVERIFY(!fs::exists(setup.exportFile(2, "Family")));
    }

    void linkExpiresAfterTenMinutesAndTheCodeStays()
    {
        StateSetup setup;
        setup.addChat(1, "Team");
        AppState& state = setup.open();
        QVERIFY(transfer(setup, 1));
        const TransferLink link = scanned(state);
        setup.advance(std::chrono::seconds(599));
        QCOMPARE(fetched(link).status, 200);
        setup.advance(std::chrono::seconds(1));
        QVERIFY(fetched(link).status != 200);
        QVERIFY(state.transferQR());
        QCOMPARE(state.status(), std::string(ready));
    }

    void doneClearsTheTransferAndLeavesTheLinkValid()
    {
        StateSetup setup;
        setup.addChat(1, "Team");
        AppState& state = setup.open();
        QVERIFY(transfer(setup, 1));
        const TransferLink link = scanned(state);
        const Recorder recorder(state);
        state.endTransfer();
        QCOMPARE(recorder.changes(), lines({"transferQR: none", "transferChatTitle: none"}));
        QVERIFY(!state.transferQR());
        QVERIFY(!state.transferChatTitle());
        QCOMPARE(fetched(link).status, 200);
        state.makeTransferQR(); // the file name was forgotten, too
        QVERIFY(!state.transferQR());
        QCOMPARE(state.status(),
            std::string("Could not create a transfer link. Check Wi-Fi and select one chat."));
    }

    void doneWhileTheChatsAreReadStaysDone()
    {
        StateSetup setup;
        setup.addChat(1, "Team");
        AppState& state = setup.open();
        QVERIFY(transfer(setup, 1));
        const Recorder recorder(state);
        state.reloadChats();
        state.endTransfer();
        QTRY_COMPARE(recorder.changes(),
            lines({"transferQR: none", "transferChatTitle: none", "chats: 1",
                "status: 1 chats · 1 selected"}));
        StateSetup::settle();
        QVERIFY(!state.transferQR());
    }

    void doneInTheMidstOfARunsReloadStaysDone()
    {
        StateSetup setup;
        setup.addChat(1, "Team");
        AppState& state = setup.open();
        QVERIFY(transfer(setup, 1));
        const Recorder recorder(state);
        connect(&state, &AppState::statusChanged, &state, [&state] {
            if (state.status().starts_with("Up to date")) // the reload comes next
                QMetaObject::invokeMethod(&state, &AppState::endTransfer, Qt::QueuedConnection);
        });
        state.syncNow();
        // On a busy machine the reload may end first.
        QTRY_VERIFY(recorder.count("transferQR: none") == 1
            && recorder.count("status: 1 chats · 1 selected") == 1);
        StateSetup::settle();
        QCOMPARE(recorder.count("transferQR: none"), 1);
        QVERIFY(!state.transferQR());
        QVERIFY(!state.transferChatTitle());
    }

    void transferAfterDoneWorksAgain()
    {
        StateSetup setup;
        setup.addChat(1, "Team");
        AppState& state = setup.open();
        QVERIFY(transfer(setup, 1));
        state.endTransfer();
        QVERIFY(transfer(setup, 1));
        QCOMPARE(fetched(scanned(state)).status, 200);
        QCOMPARE(state.transferChatTitle().value(), std::string("Team"));
    }

    void codeStaysWhileAnExportRuns()
    {
        StateSetup setup;
        setup.addChat(1, "Team");
        AppState& state = setup.open();
        QVERIFY(transfer(setup, 1));
        const Recorder recorder(state);
        setup.files.addMessages(1, 1);
        QVERIFY(setup.sync());
        QCOMPARE(recorder.count("transferQR: none"), 0);
        const TransferLink link = scanned(state);
        QCOMPARE(opened(link, fetched(link)), readFile(setup.exportFile(1, "Team")));
    }

private:
    static constexpr auto ready = "Ready to scan · link expires in 10 minutes";

    /// Selects the chat, prepares its transfer and waits for the QR code.
    static bool transfer(StateSetup& setup, std::int64_t chat)
    {
        setup.select({chat});
        const Recorder recorder(setup.state());
        setup.state().prepareTransfer();
        return QTest::qWaitFor(
            [&recorder] { return recorder.changes().ends_with(std::string(ready) + "\n"); });
    }

    /// The link in the QR code, read back from its picture.
    static TransferLink scanned(const AppState& state)
    {
        return TransferLink::fromString(readBack(state.transferQR().value()).value()).value();
    }

    static Response fetched(const TransferLink& link) { return get(link.port, link.target()); }

    /// The decrypted body of an answer; "(sealed)" if the link's key does not open it.
    static std::string opened(const TransferLink& link, const Response& response)
    {
        const auto text = SealedByOthers::open(link.key.bytes(), response.body, link.target());
        return text ? text->toStdString() : "(sealed)";
    }
};

QTEST_GUILESS_MAIN(PrepareTransferTest)
#include "PrepareTransferTest.moc"
