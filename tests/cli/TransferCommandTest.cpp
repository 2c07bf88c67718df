#include "CannedServer.h"
#include "OfferedChat.h"
#include "PaintedCode.h"
#include "RunningTransfer.h"

#include "support/Printing.h"
#include "support/SealedByOthers.h"

#include <QDateTime>
#include <QElapsedTimer>
#include <QTcpServer>
#include <QtTest/QTest>

#include <algorithm>
#include <csignal>
#include <filesystem>

using namespace korvane;

/// What `transfer` offers, and to whom. It runs as a process, and the tests open its answers with
/// another library.
class TransferCommandTest : public QObject {
    Q_OBJECT

private slots:
    void linkLeadsToTheChatsExportFile()
    {
        const Owner owner;
        RunningTransfer running(owner.words());
        QVERIFY(running.isReady());
        const TransferLink link = running.link();
        QCOMPARE(link.host, std::string("127.0.0.1"));
        const Response response = get(link.port, link.target());
        QCOMPARE(response.status, 200);
        const auto text = SealedByOthers::open(link.key.bytes(), response.body, link.target());
        QVERIFY(text);
        QCOMPARE(text->toStdString(), readFile(owner.file()));
        QVERIFY(text->contains("second thoughts"));
    }

    void fileThatTheExportKeepsIsTold()
    {
        Owner owner;
        owner.exportChat();
        owner.database.sql().execute("DELETE FROM chat_message_join WHERE message_id = 1;"
                                     "UPDATE chat SET display_name = 'Crew'");
        RunningTransfer running(owner.words());
        QVERIFY(running.isReady());
        QVERIFY2(running.printed().starts_with(
                     "Kept 1 message of Team that Messages no longer has: Kept/"),
            running.printed().c_str());
    }

    void codeIsThatOfTheLink()
    {
        if (!PaintedCode::canRead())
            QSKIP("There is no zbarimg here.");
        const Owner owner;
        RunningTransfer running(owner.words());
        QVERIFY(running.isReady());
        const PaintedCode painted(running.printed(), PaintedCode::Terminal::LightOnDark);
        QVERIFY(painted.isPaintedThroughout());
        QCOMPARE(painted.read(), running.link().toString());
        const std::string line = '\n' + running.link().toString() + '\n';
        QVERIFY(running.printed().find(line) != std::string::npos);
    }

    void userIsToldWhichChatItIsAndUntilWhenItIsThere()
    {
        const Owner owner;
        const QDateTime before = QDateTime::currentDateTime();
        RunningTransfer running(owner.words());
        QVERIFY(running.isReady());
        const QDateTime after = QDateTime::currentDateTime();
        const auto validUntil = [](const QDateTime& moment) {
            constexpr int lifetime = 600;
            return moment.addSecs(lifetime).toString(QStringLiteral("'Valid until 'HH:mm,"));
        };
        const QString printed = QString::fromStdString(running.printed());
        QVERIFY(printed.contains(QLatin1String("Team: ")));
        QVERIFY(printed.contains(validUntil(before)) || printed.contains(validUntil(after)));
    }

    void titleCannotSpeakToTheTerminal()
    {
        Owner owner;
        owner.database.sql().execute("UPDATE chat SET display_name = 'A' || char(27) || '[2JB'");
        RunningTransfer running(owner.words());
        QVERIFY(running.isReady());
        QVERIFY(running.printed().find("A\uFFFD[2JB: ") != std::string::npos);
    }

    void eachFetchIsReportedWithThePeersAddress()
    {
        const Owner owner;
        RunningTransfer running(owner.words());
        QVERIFY(running.isReady());
        for (int fetches = 1; fetches <= 2; ++fetches) {
            QCOMPARE(get(running.link().port, running.link().target()).status, 200);
            QVERIFY(running.prints("  127.0.0.1 is fetching it\n", fetches));
            QVERIFY(running.prints("  127.0.0.1 has it\n", fetches));
        }
    }

    void requestsForAnythingElseAreNotReported()
    {
        const Owner owner;
        RunningTransfer running(owner.words());
        QVERIFY(running.isReady());
        const std::string before = running.printed();
        const std::uint16_t port = running.link().port;
        QCOMPARE(get(port, "/v1/transfer/unknown").status, 410);
        QCOMPARE(get(port, "/v1/manifest").status, 401);
        QCOMPARE(running.end(SIGINT), 0);
        QCOMPARE(running.printed(), before + "Ended.\n");
    }

    void fetchThatBreaksOffIsReported()
    {
        const Owner owner;
        owner.exportAndResize(32'000'000); // more than socket buffers hold
        RunningTransfer running(owner.words());
        QVERIFY(running.isReady());
        Client client(running.link().port, {.receiveBuffer = 4096});
        client.send(headFor(running.link().target()));
        QVERIFY(running.prints("  127.0.0.1 is fetching it\n"));
        QCOMPARE(client.readExactly(1000)->size(), 1000);
        client.reset();
        QVERIFY(running.prints("  127.0.0.1 broke off\n"));
        QVERIFY(running.printed().find("has it") == std::string::npos);
        QCOMPARE(get(running.link().port, running.link().target()).status, 200);
        QVERIFY(running.prints("  127.0.0.1 has it\n"));
    }

    void manyWhoLeaveEarlyDoNotScrollTheCodeAway()
    {
        const Owner owner;
        owner.exportAndResize(1'000'000);
        RunningTransfer running(owner.words());
        QVERIFY(running.isReady());
        const TransferLink link = running.link();
        constexpr int times = 1000;
        for (int i = 0; i < times; ++i) {
            Client client(link.port, {.receiveBuffer = 4096});
            client.send(headFor(link.target()));
            client.reset();
        }
        QCOMPARE(get(link.port, link.target()).status, 200);
        QVERIFY(running.prints("  127.0.0.1 has it\n")); // listed in spite of the others
        QCOMPARE(running.end(SIGINT), 0);
        const std::string lines
            = running.printed().substr(running.printed().find("at once.\n") + 9);
        QVERIFY2(std::count(lines.begin(), lines.end(), '\n') < 20, lines.c_str());
        QCOMPARE(lines.find("   "), std::string::npos); // no address is missing
        QVERIFY2(lines.find(" more fetches broke off, the last from 127.0.0.1\n") != lines.npos,
            lines.c_str());
    }

    void portThatIsFreeIsUsed()
    {
        const Owner owner;
        const std::uint16_t port = freePort();
        RunningTransfer running(owner.words({"--port", std::to_string(port)}));
        QVERIFY(running.isReady());
        QCOMPARE(running.link().port, port);
        QCOMPARE(get(port, running.link().target()).status, 200);
    }

    void portThatIsTakenGivesWayToAnotherWhichTheLinkHas()
    {
        const Owner owner;
        QTcpServer other;
        QVERIFY(other.listen());
        RunningTransfer running(owner.words({"--port", std::to_string(other.serverPort())}));
        QVERIFY(running.isReady());
        QVERIFY(running.link().port != other.serverPort());
        QCOMPARE(get(running.link().port, running.link().target()).status, 200);
    }

    void addressInTheLinkIsTheOneGiven()
    {
        const Owner owner;
        RunningTransfer running(owner.words({"--host", "198.51.100.7"}));
        QVERIFY(running.isReady());
        QCOMPARE(running.link().host, std::string("198.51.100.7"));
    }

    void chatIsFetchedFromAnAddressOfTheNewerKind()
    {
        if (!QTcpServer().listen(QHostAddress::LocalHostIPv6))
            QSKIP("There is no IPv6 here.");
        const Recipient recipient;
        const Owner owner;
        RunningTransfer running(owner.words({"--host", "::1"}));
        QVERIFY(running.isReady());
        QCOMPARE(recipient.receive(running.link()).err, std::string());
        QCOMPARE(contentsOf("Korvane-History.txt"), readFile(owner.file()));
        QVERIFY(running.prints("  ::1 has it\n"));
    }

    void exportsGoOnWhileTheChatIsOnOffer()
    {
        Owner owner;
        RunningTransfer running(owner.words());
        QVERIFY(running.isReady());
        owner.database.addMessage(1, "a word that came later");
        const Outcome outcome = owner.exportChat();
        QCOMPARE(outcome.err, std::string());
        QCOMPARE(outcome.code, 0);
        const TransferLink link = running.link();
        const Response response = get(link.port, link.target());
        const auto text = SealedByOthers::open(link.key.bytes(), response.body, link.target());
        QVERIFY(text && text->contains("a word that came later"));
    }

    void twoTransfersGoOnBesideEachOther()
    {
        const Owner owner;
        RunningTransfer one(owner.words());
        QVERIFY(one.isReady());
        RunningTransfer other(owner.words());
        QVERIFY(other.isReady());
        QVERIFY(one.link().port != other.link().port);
        QCOMPARE(get(other.link().port, other.link().target()).status, 200);
        QCOMPARE(get(other.link().port, one.link().target()).status, 410);
    }

    void keyAndTicketAreInTheLinkAlone()
    {
        const Owner owner;
        RunningTransfer running(owner.words());
        QVERIFY(running.isReady());
        const TransferLink link = running.link();
        QCOMPARE(get(link.port, link.target()).status, 200);
        QVERIFY(running.prints("has it\n"));
        const std::string processList
            = contentsOf("/proc/" + std::to_string(running.id()) + "/cmdline");
        QVERIFY(!tellsSecrets(processList, link));
        QCOMPARE(running.end(SIGINT), 0);
        QCOMPARE(running.complained(), std::string());
        std::string rest = running.printed();
        rest.erase(rest.find(link.toString()), link.toString().size());
        QVERIFY(!tellsSecrets(rest, link));
        QVERIFY(!tellsSecrets(filesBelow(owner.terminal.home()), link));
    }

    void manyIdleConnectionsAndFewDescriptorsKeepNobodyOut()
    {
        const Owner owner;
        RunningTransfer running(owner.words(), {"sh", "-c", "ulimit -Sn 256; exec \"$0\" \"$@\""});
        QVERIFY(running.isReady());
        const TransferLink link = running.link();
        std::vector<Client> idle;
        for (int i = 0; i < 740; ++i)
            idle.emplace_back(link.port);
        QElapsedTimer timer;
        timer.start();
        QCOMPARE(get(link.port, link.target()).status, 200);
        QVERIFY(timer.elapsed() < 2000);
    }

    void lowLimitOnDescriptorsIsRaised()
    {
        if (!std::filesystem::exists("/proc/self/limits"))
            QSKIP("no list of a process's limits here");
        const Owner owner;
        RunningTransfer running(owner.words(), {"sh", "-c", "ulimit -Sn 256; exec \"$0\" \"$@\""});
        QVERIFY(running.isReady());
        const std::string limits = contentsOf("/proc/" + std::to_string(running.id()) + "/limits");
        const auto line
            = QString::fromStdString(limits).split(u'\n').filter(QStringLiteral("Max open files"));
        QCOMPARE(line.join(u' ').simplified().section(u' ', 3, 3), QStringLiteral("1024"));
    }

private:
    /// The contents of all files below the folder, joined.
    static std::string filesBelow(const std::string& folder)
    {
        std::string all;
        for (const auto& entry : std::filesystem::recursive_directory_iterator(folder)) {
            if (entry.is_regular_file())
                all += contentsOf(entry.path().string());
        }
        return all;
    }
};

QTEST_GUILESS_MAIN(TransferCommandTest)
#include "TransferCommandTest.moc"
