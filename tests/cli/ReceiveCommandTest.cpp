#include "CannedServer.h"
#include "OfferedChat.h"

#include "cli/Console.h"
#include "cli/ReceiveCommand.h"
#include "support/Printing.h"
#include "support/SealedByOthers.h"

#include <QtTest/QTest>

#include <filesystem>
#include <sstream>

#include <sys/stat.h>

using namespace korvane;

namespace {

using Names = std::vector<std::string>;
constexpr auto usualName = "Korvane-History.txt";

} // namespace

/// `receive` and the file that it writes.
class ReceiveCommandTest : public QObject {
    Q_OBJECT

private slots:
    void chatIsWrittenIntoTheFolderAtHand()
    {
        const OfferedChat offered;
        const Outcome outcome = offered.recipient.receive(offered.link);
        QCOMPARE(outcome.err, std::string());
        QCOMPARE(outcome.out, std::string("Wrote 3 records to Korvane-History.txt\n"));
        QCOMPARE(outcome.code, 0);
        QCOMPARE(filesIn("."), Names{usualName});
        QCOMPARE(contentsOf(usualName), offered.chat.contents());
    }

    void serverSaysThatItWasDelivered()
    {
        const OfferedChat offered;
        QCOMPARE(offered.recipient.receive(offered.link).code, 0);
        using Kind = TransferEvent::Kind;
        const std::vector<Kind> whole{Kind::Started, Kind::Delivered};
        QTRY_VERIFY(offered.running.transfers().kinds() == whole);
    }

    void bodySealedByAnotherLibraryIsOpened()
    {
        const Recipient recipient;
        TransferLink link = linkTo(1);
        const CannedServer server(CannedServer::ok(
            SealedByOthers::seal(link.key.bytes(), "twelve bytes", "one\ntwo\n", link.target())));
        link.port = server.port();
        QCOMPARE(
            recipient.receive(link).out, std::string("Wrote 2 records to Korvane-History.txt\n"));
        QCOMPARE(contentsOf(usualName), std::string("one\ntwo\n"));
        QCOMPARE(server.heads().size(), std::size_t{1});
        QVERIFY(server.heads()[0].startsWith(
            "GET " + QByteArray::fromStdString(link.target()) + " HTTP/1.1\r\n"));
    }

    void interimAnswersAreSkipped_data()
    {
        QTest::addColumn<QByteArray>("interim");
        QTest::newRow("go on") << QByteArray("HTTP/1.1 100 Continue\r\n\r\n");
        QTest::newRow("processing") << QByteArray("HTTP/1.1 102 Processing\r\n\r\n");
        QTest::newRow("hints") << QByteArray(
            "HTTP/1.1 103 Early Hints\r\nLink: </style.css>\r\nContent-Length: 5\r\n\r\n");
        QTest::newRow("one that nobody knows") << QByteArray("HTTP/1.1 199 \r\n\r\n");
        QTest::newRow("many") << QByteArray("HTTP/1.1 103 Early Hints\r\n\r\n").repeated(100);
    }

    void interimAnswersAreSkipped()
    {
        QFETCH(const QByteArray, interim);
        const OfferedChat offered;
        const CannedServer server([&](QTcpSocket& peer, const QByteArray& head) {
            CannedServer::send(peer, interim);
            constexpr int moment = 50;
            QThread::msleep(moment); // let the client read the interim answer by itself
            const Client other(offered.link.port);
            other.send(head.toStdString());
            CannedServer::send(peer, other.readAll().value_or(QByteArray()));
        });
        TransferLink led = offered.link;
        led.port = server.port();
        const Outcome outcome = offered.recipient.receive(led);
        QCOMPARE(outcome.err, std::string());
        QCOMPARE(outcome.code, 0);
        QCOMPARE(contentsOf(usualName), offered.chat.contents());
    }

    void answerInChunksIsPutTogether()
    {
        const Recipient recipient;
        TransferLink link = linkTo(1);
        const QByteArray body
            = SealedByOthers::seal(link.key.bytes(), "twelve bytes", "one\ntwo\n", link.target());
        const CannedServer server("HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n5\r\n"
            + body.left(5) + "\r\n" + QByteArray::number(body.size() - 5, 16) + ";x=y\r\n"
            + body.sliced(5) + "\r\n0\r\nTrailer: yes\r\n\r\n");
        link.port = server.port();
        QCOMPARE(recipient.receive(link).err, std::string());
        QCOMPARE(contentsOf(usualName), std::string("one\ntwo\n"));
    }

    void emptyChatIsAnEmptyFile()
    {
        const OfferedChat offered;
        offered.chat.resize(0);
        const Outcome outcome = offered.recipient.receive(offered.link);
        QCOMPARE(outcome.out, std::string("Wrote 0 records to Korvane-History.txt\n"));
        QCOMPARE(outcome.code, 0);
        QVERIFY(std::filesystem::exists(usualName));
        QCOMPARE(contentsOf(usualName), std::string());
    }

    void largestChatIsReceived()
    {
        const OfferedChat offered;
        offered.chat.resize(TransferTicket::largestFile);
        const Outcome outcome = offered.recipient.receive(offered.link);
        QCOMPARE(outcome.err, std::string());
        QCOMPARE(outcome.code, 0);
        QVERIFY(contentsOf(usualName) == offered.chat.contents());
    }

    void linkFetchesAgainAndAgain()
    {
        const OfferedChat offered;
        for (const char* name : {"one", "two"})
            QCOMPARE(offered.recipient.receive(offered.link, {"--output", name}).code, 0);
        QCOMPARE(filesIn("."), (Names{"one", "two"}));
        QCOMPARE(contentsOf("two"), offered.chat.contents());
    }

    void fileThatIsThereIsKeptAndNothingFetched_data()
    {
        QTest::addColumn<bool>("link");
        QTest::newRow("a file") << false;
        QTest::newRow("a link to nowhere") << true;
    }

    void fileThatIsThereIsKeptAndNothingFetched()
    {
        QFETCH(bool, link);
        const OfferedChat offered;
        if (link)
            std::filesystem::create_symlink("nowhere", usualName);
        else
            writeFile(usualName, "mine");
        const Outcome outcome = offered.recipient.receive(offered.link);
        QCOMPARE(outcome.code, 1);
        QVERIFY2(outcome.err.starts_with("korvane-sync: Korvane-History.txt: The file exists; "
                                         "use --output to name another one"),
            outcome.err.c_str());
        QCOMPARE(contentsOf(usualName), std::string(link ? "(no such file)" : "mine"));
        QCOMPARE(filesIn("."), Names{usualName});
        QVERIFY(offered.running.transfers().events().empty());
    }

    void fileThatComesInTheMeantimeIsKept()
    {
        const Recipient recipient;
        TransferLink link = linkTo(1);
        const CannedServer server([&link](QTcpSocket& peer, const QByteArray&) {
            writeFile(usualName, "mine");
            CannedServer::send(peer,
                CannedServer::ok(SealedByOthers::seal(
                    link.key.bytes(), "twelve bytes", "theirs\n", link.target())));
        });
        link.port = server.port();
        QCOMPARE(recipient.receive(link).code, 1);
        QCOMPARE(contentsOf(usualName), std::string("mine"));
    }

    void fileThatIsNamedIsReplaced()
    {
        const OfferedChat offered;
        writeFile("mine.txt", "older");
        const Outcome outcome = offered.recipient.receive(offered.link, {"--output", "mine.txt"});
        QCOMPARE(outcome.out, std::string("Wrote 3 records to mine.txt\n"));
        QCOMPARE(contentsOf("mine.txt"), offered.chat.contents());
        QCOMPARE(filesIn("."), Names{"mine.txt"});
    }

    void usualNameThatIsNamedIsReplaced()
    {
        const OfferedChat offered;
        writeFile(usualName, "older");
        QCOMPARE(offered.recipient.receive(offered.link, {"--output", usualName}).code, 0);
        QCOMPARE(contentsOf(usualName), offered.chat.contents());
    }

    void fileBesideIsLeftAlone()
    {
        const OfferedChat offered;
        writeFile("chat.new", "mine");
        QCOMPARE(offered.recipient.receive(offered.link, {"--output", "chat"}).code, 0);
        QCOMPARE(contentsOf("chat"), offered.chat.contents());
        QCOMPARE(contentsOf("chat.new"), std::string("mine"));
    }

    void placeThatCannotBeWritten_data()
    {
        QTest::addColumn<QString>("output");
        QTest::addColumn<QString>("says");
        const auto row = [](const char* name, const char* output, const char* says) {
            QTest::newRow(name) << QString::fromLatin1(output) << QString::fromLatin1(says);
        };
        row("a folder", "taken", "taken: Is a directory");
        row("in no folder", "none/chat.txt", "none/chat.txt: No such file or directory");
        row("below a file", "file/chat.txt", "file/chat.txt: Not a directory");
    }

    void placeThatCannotBeWritten()
    {
        QFETCH(QString, output);
        QFETCH(QString, says);
        const OfferedChat offered;
        std::filesystem::create_directory("taken");
        writeFile("file", "mine");
        const Outcome outcome
            = offered.recipient.receive(offered.link, {"--output", output.toStdString()});
        QCOMPARE(outcome.err, "korvane-sync: " + says.toStdString() + '\n');
        QCOMPARE(outcome.out, std::string());
        QCOMPARE(outcome.code, 1);
        QCOMPARE(filesIn("."), (Names{"file", "taken"}));
        QCOMPARE(contentsOf("file"), std::string("mine"));
    }

    void pipeIsNotReplaced()
    {
        const OfferedChat offered;
        QCOMPARE(::mkfifo("pipe", S_IRUSR | S_IWUSR), 0);
        const Outcome outcome = offered.recipient.receive(offered.link, {"--output", "pipe"});
        QCOMPARE(outcome.err,
            std::string("korvane-sync: pipe: This is a device or a pipe, not a file.\n"));
        QCOMPARE(outcome.code, 1);
        QVERIFY(std::filesystem::is_fifo("pipe"));
    }

    void longFetchShowsABarAndWipesItAway()
    {
        const Recipient recipient;
        TransferLink link = linkTo(1);
        const QByteArray answer = CannedServer::ok(SealedByOthers::seal(
            link.key.bytes(), "twelve bytes", QByteArray(100'000, 'x'), link.target()));
        const CannedServer server([&answer](QTcpSocket& peer, const QByteArray&) {
            const qsizetype piece = answer.size() / 9;
            for (qsizetype sent = 0; sent < answer.size(); sent += piece) {
                CannedServer::send(peer, answer.sliced(sent, qMin(piece, answer.size() - sent)));
                QThread::msleep(200); // the bar appears after a second
            }
        });
        link.port = server.port();
        std::ostringstream out;
        std::ostringstream err;
        std::istringstream in;
        QCOMPARE(runReceive({.link = link.toString()}, {out, err, true, in}), 0);
        QVERIFY2(err.str().starts_with("\r\x1B[K["), err.str().c_str());
        QVERIFY(err.str().find("% Receiving") != std::string::npos);
        QVERIFY(err.str().ends_with("\r\x1B[K"));
        QVERIFY(!tellsSecrets(out.str() + err.str(), link));
    }
};

QTEST_GUILESS_MAIN(ReceiveCommandTest)
#include "ReceiveCommandTest.moc"
