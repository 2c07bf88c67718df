#include "CannedServer.h"
#include "OfferedChat.h"

#include "cli/Console.h"
#include "cli/ReceiveCommand.h"
#include "support/Printing.h"

#include <QElapsedTimer>
#include <QRegularExpression>
#include <QtTest/QTest>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <sstream>

using namespace korvane;
using namespace std::chrono_literals;

/// Servers that are gone, or that send wrong answers. In each case `receive` prints one line, exits
/// with 1, leaves nothing on disk and prints no secret.
class ReceiveFailuresTest : public QObject {
    Q_OBJECT

private slots:
    void wrongKey_data()
    {
        QTest::addColumn<int>("messages");
        QTest::newRow("a short chat") << 1;
        QTest::newRow("a long one") << 1000;
    }

    void wrongKey()
    {
        QFETCH(int, messages);
        const OfferedChat offered(messages);
        for (int attempt = 0; attempt < 20; ++attempt) { // each key yields other garbage
            TransferLink wrong = offered.link;
            wrong.key = attempt == 0 ? otherThan(wrong.key) : SymmetricKey::make().value();
            fails(offered.recipient, wrong,
                "The key in the link does not open the answer. Was the whole link copied?");
        }
    }

    void touchedBody_data()
    {
        QTest::addColumn<int>("messages");
        QTest::addColumn<int>("position"); // negative: from the end
        QTest::newRow("first byte of the text") << 3 << 12;
        QTest::newRow("in the text") << 3 << 50;
        QTest::newRow("far in a long text") << 1000 << 100'000;
        QTest::newRow("last byte of the text") << 3 << -17;
        QTest::newRow("first byte of the tag") << 3 << -16;
        QTest::newRow("last byte of the tag") << 3 << -1;
    }

    void touchedBody()
    {
        QFETCH(int, messages);
        QFETCH(int, position);
        OfferedChat offered(messages);
        touch(offered, [position](QByteArray& body) {
            const qsizetype at = position < 0 ? body.size() + position : position;
            body[at] = static_cast<char>(body[at] ^ 0x80);
        });
    }

    void shortenedBody_data()
    {
        QTest::addColumn<int>("left"); // negative: removed from the end
        QTest::newRow("without its last byte") << -1;
        QTest::newRow("without its tag") << -16;
        QTest::newRow("its first half") << 300;
        QTest::newRow("just what a seal adds") << 28;
        QTest::newRow("shorter than that") << 27;
        QTest::newRow("nothing at all") << 0;
    }

    void shortenedBody()
    {
        QFETCH(int, left);
        OfferedChat offered;
        touch(offered,
            [left](QByteArray& body) { body.truncate(left < 0 ? body.size() + left : left); });
    }

    void lengthenedBody()
    {
        OfferedChat offered;
        touch(offered, [](QByteArray& body) { body += '\0'; });
    }

    void bodyOfAnotherTicketIsNotTaken()
    {
        const OfferedChat offered;
        const CannedServer server(CannedServer::ok(bodyOf(offered)));
        TransferLink other = linkTo(server.port());
        other.key = offered.link.key; // right, but the seal authenticates the target
        fails(offered.recipient, other,
            "The answer was altered or damaged on its way. Nothing was written.");
    }

    void bodyThatBreaksOff_data()
    {
        QTest::addColumn<int>("kept");
        QTest::newRow("after the head") << 0;
        QTest::newRow("in the middle") << 300;
        QTest::newRow("before the last byte") << -1;
    }

    void bodyThatBreaksOff()
    {
        QFETCH(int, kept);
        OfferedChat offered;
        const QByteArray body = bodyOf(offered);
        const QByteArray answer = CannedServer::ok(body);
        const qsizetype missing = kept < 0 ? -kept : body.size() - kept;
        const CannedServer server(answer.chopped(missing));
        offered.link.port = server.port();
        fails(offered.recipient, offered.link,
            "The connection broke off in the middle. Try again while the link is valid.");
    }

    void expiredLink()
    {
        OfferedChat offered;
        offered.running.advance(std::chrono::seconds(600));
        fails(offered.recipient, offered.link,
            "The link has expired, or the program that made it has been restarted. Ask for a new "
            "one.");
    }

    void linkOfAProgramThatWasStartedAnew()
    {
        OfferedChat offered;
        RunningServer anew(offered.chat.setup.support());
        offered.chat.offer(anew.server());
        offered.link.port = anew.port();
        fails(offered.recipient, offered.link,
            "The link has expired, or the program that made it has been restarted. Ask for a new "
            "one.");
    }

    void chatThatIsNotOfferedAnyMore()
    {
        OfferedChat offered;
        offered.running.server().offer({}, offered.chat.setup.folder());
        fails(offered.recipient, offered.link,
            "The chat is not offered there any more. Ask for a new link.");
    }

    void chatThatHasGrownTooLarge()
    {
        OfferedChat offered;
        offered.chat.resize(TransferTicket::largestFile + 1);
        fails(offered.recipient, offered.link,
            "The chat is not offered there any more. Ask for a new link.");
    }

    void otherRefusals_data()
    {
        QTest::addColumn<QByteArray>("status");
        QTest::addColumn<QString>("says");
        const auto row = [](const char* name, const char* status, const char* says) {
            QTest::newRow(name) << QByteArray(status)
                                << QStringLiteral("The other side cannot hand the chat over (%1).")
                                       .arg(QString::fromUtf8(says));
        };
        row("failed", "500 Transfer Failed", "500 Transfer Failed");
        row("redirect", "302 Found", "302 Found");
        row("another protocol", "101 Switching Protocols", "101 Switching Protocols");
        row("lasting redirect", "308 Permanent Redirect", "308 Permanent Redirect");
        row("another success", "204 No Content", "204 No Content");
        row("part of it", "206 Partial Content", "206 Partial Content");
        row("asks who it is", "401 Unauthorized", "401 Unauthorized");
        row("asks the proxy's question", "407 Who", "407 Who");
        row("speaks to the terminal", "500 \x1B[2J", "500 \uFFFD[2J");
    }

    void otherRefusals()
    {
        QFETCH(QByteArray, status);
        QFETCH(QString, says);
        const Recipient recipient;
        const CannedServer elsewhere(CannedServer::ok("not for you"));
        const CannedServer server("HTTP/1.1 " + status + "\r\nLocation: http://127.0.0.1:"
            + QByteArray::number(elsewhere.port()) + "/\r\nContent-Length: 0\r\n\r\n");
        fails(recipient, linkTo(server.port()), says.toStdString());
        QCOMPARE(server.heads().size(), std::size_t{2}); // fails() asks twice
        QCOMPARE(elsewhere.heads().size(), std::size_t{0});
    }

    void otherSideThatStops_data()
    {
        QTest::addColumn<QByteArray>("answer");
        QTest::addColumn<QString>("says");
        const QString nobody = QStringLiteral("Nobody answers at 127.0.0.1, port ");
        const QString stopped = QStringLiteral("Nothing more arrived for 1 second. ");
        QTest::newRow("before its answer") << QByteArray() << nobody;
        QTest::newRow("in the first line") << QByteArray("HTTP/1.1 2") << stopped;
        QTest::newRow("after an interim answer")
            << QByteArray("HTTP/1.1 103 Early Hints\r\n\r\n") << stopped;
        QTest::newRow("before the body")
            << QByteArray("HTTP/1.1 200 OK\r\nContent-Length: 100\r\n\r\n") << stopped;
        QTest::newRow("in the body")
            << QByteArray("HTTP/1.1 200 OK\r\nContent-Length: 100\r\n\r\nabc") << stopped;
    }

    void otherSideThatStops()
    {
        QFETCH(const QByteArray, answer);
        QFETCH(const QString, says);
        const Recipient recipient;
        const CannedServer server([&answer](QTcpSocket& peer, const QByteArray&) {
            CannedServer::send(peer, answer);
            peer.waitForDisconnected();
        });
        const TransferLink link = linkTo(server.port());
        QTest::failOnWarning(QRegularExpression(QStringLiteral("."))); // none of Qt's own warnings
        const std::string error = errorOf(link, {.idle = 400ms, .total = 60s});
        QVERIFY2(error.starts_with(says.toStdString()), error.c_str());
    }

    void otherSideThatNeverComesToAnEnd_data()
    {
        QTest::addColumn<QByteArray>("head");
        QTest::addColumn<QByteArray>("piece");
        QTest::newRow("body, byte by byte")
            << QByteArray("HTTP/1.1 200 OK\r\nContent-Length: 1000\r\n\r\n") << QByteArray("x");
        QTest::newRow("head, byte by byte")
            << QByteArray("HTTP/1.1 200 OK\r\na: ") << QByteArray("x");
        QTest::newRow("interim answers") << QByteArray("HTTP/1.1 100 Continue\r\n\r\n")
                                         << QByteArray("HTTP/1.1 100 Continue\r\n\r\n");
    }

    void otherSideThatNeverComesToAnEnd()
    {
        QFETCH(const QByteArray, head);
        QFETCH(const QByteArray, piece);
        const Recipient recipient;
        const CannedServer server([&](QTcpSocket& peer, const QByteArray&) {
            CannedServer::send(peer, head);
            while (peer.state() == QTcpSocket::ConnectedState) {
                CannedServer::send(peer, piece);
                constexpr int moment = 50;
                peer.waitForDisconnected(moment);
            }
        });
        QTest::failOnWarning(QRegularExpression(QStringLiteral(".")));
        QElapsedTimer timer;
        timer.start();
        const std::string error = errorOf(linkTo(server.port()), {.idle = 30s, .total = 1500ms});
        QVERIFY2(error.starts_with("The chat did not arrive within 2 seconds. "), error.c_str());
        QVERIFY2(timer.elapsed() >= 1400 && timer.elapsed() < 15'000,
            qPrintable(QString::number(timer.elapsed())));
    }

    void timeoutIsAMinuteOfSilenceAndAQuarterOfAnHourInAll()
    {
        const TransferClient::Limits limits;
        QVERIFY(limits.idle == 60s);
        QVERIFY(limits.total == 15min);
    }

    void refusalThatIsTooLarge()
    {
        const Recipient recipient;
        const CannedServer server("HTTP/1.1 410 Gone\r\nContent-Length: "
            + QByteArray::number(sealedSize(TransferTicket::largestFile) + 1) + "\r\n\r\nx");
        fails(recipient, linkTo(server.port()),
            "The link has expired, or the program that made it has been restarted. Ask for a new "
            "one.");
    }

    void nobodyIsThere()
    {
        const Recipient recipient;
        const std::uint16_t port = freePort();
        fails(recipient, linkTo(port),
            "Nobody answers at 127.0.0.1, port " + std::to_string(port)
                + ". Is the chat still on offer there, and is this machine on the same network?");
    }

    void otherSideThatSpeaksAnotherLanguage_data()
    {
        QTest::addColumn<QByteArray>("answer");
        QTest::newRow("nothing") << QByteArray();
        QTest::newRow("a greeting") << QByteArray("SSH-2.0-Other\r\n");
        QTest::newRow("half a head") << QByteArray("HTTP/1.1 200 OK\r\nContent-Le");
        QTest::newRow("zeros") << QByteArray(1000, '\0');
        QTest::newRow("a status that is none") << QByteArray("HTTP/1.1 OK\r\n\r\n");
    }

    void otherSideThatSpeaksAnotherLanguage()
    {
        QFETCH(QByteArray, answer);
        const Recipient recipient;
        const CannedServer server(answer);
        const TransferLink link = linkTo(server.port());
        const Outcome outcome = recipient.receive(link);
        checkFailed(outcome, link);
    }

    void answerThatIsAnnouncedTooLarge()
    {
        const Recipient recipient;
        const CannedServer server("HTTP/1.1 200 OK\r\nContent-Length: "
            + QByteArray::number(sealedSize(TransferTicket::largestFile) + 1) + "\r\n\r\nx");
        fails(recipient, linkTo(server.port()), "The answer is over 64 MB, so it is not a chat.");
    }

    void answerThatTurnsOutTooLarge()
    {
        const Recipient recipient;
        constexpr std::int64_t most = 4 * TransferTicket::largestFile;
        std::atomic<std::int64_t> sent = 0;
        const CannedServer server([&sent](QTcpSocket& peer, const QByteArray&) {
            CannedServer::send(peer, "HTTP/1.1 200 OK\r\nConnection: close\r\n\r\n");
            const QByteArray piece(4'194'304, 'x');
            sent = 0;
            while (sent < most && peer.state() == QTcpSocket::ConnectedState) {
                CannedServer::send(peer, piece);
                sent += piece.size();
            }
        });
        fails(recipient, linkTo(server.port()), "The answer is over 64 MB, so it is not a chat.");
        QVERIFY(sent < most); // the client stopped reading
    }

private:
    /// The error message of `receive` with these time limits.
    static std::string errorOf(const TransferLink& link, const TransferClient::Limits& limits)
    {
        std::ostringstream out;
        try {
            runReceive({.link = link.toString(), .limits = limits}, {out, out});
        } catch (const std::runtime_error& error) {
            return error.what();
        }
        return "(no error)";
    }

    static void checkFailed(const Outcome& outcome, const TransferLink& link)
    {
        QCOMPARE(outcome.code, 1);
        QCOMPARE(outcome.out, std::string());
        QVERIFY(outcome.err.starts_with("korvane-sync: "));
        QCOMPARE(std::count(outcome.err.begin(), outcome.err.end(), '\n'), 1);
        QVERIFY(!tellsSecrets(outcome, link));
        QVERIFY(filesIn(".").empty());
    }

    static void fails(const Recipient& recipient, const TransferLink& link, const std::string& text)
    {
        const Outcome outcome = recipient.receive(link);
        QCOMPARE(outcome.err, "korvane-sync: " + text + '\n');
        checkFailed(outcome, link);
        const Outcome named = recipient.receive(link, {"--output", "named"});
        QCOMPARE(named.err, outcome.err);
        checkFailed(named, link);
    }

    static QByteArray bodyOf(const OfferedChat& offered)
    {
        return get(offered.link.port, offered.link.target()).body;
    }

    /// Applies `change` to the chat's sealed body and checks that `receive` refuses the result.
    template <typename Change>
    static void touch(OfferedChat& offered, Change change)
    {
        QByteArray body = bodyOf(offered);
        change(body);
        const CannedServer server(CannedServer::ok(body));
        offered.link.port = server.port();
        fails(offered.recipient, offered.link,
            "The answer was altered or damaged on its way. Nothing was written.");
    }
};

QTEST_GUILESS_MAIN(ReceiveFailuresTest)
#include "ReceiveFailuresTest.moc"
