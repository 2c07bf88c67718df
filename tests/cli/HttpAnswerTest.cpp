#include "cli/HttpAnswer.h"

#include "support/Printing.h"

#include <QElapsedTimer>
#include <QtTest/QTest>

using namespace korvane;

/// Parses answers that arrive in pieces of any size.
class HttpAnswerTest : public QObject {
    Q_OBJECT

    using State = HttpAnswer::State;
    static constexpr std::int64_t largest = 100;

    static void takeInPieces(HttpAnswer& answer, const QByteArray& bytes, qsizetype piece)
    {
        for (qsizetype at = 0; at < bytes.size(); at += piece) {
            const QByteArray some = bytes.mid(at, piece);
            answer.take({some.data(), static_cast<std::size_t>(some.size())});
        }
    }

private slots:
    void wholeAnswers_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<int>("status");
        QTest::addColumn<QByteArray>("body");
        const auto row
            = [](const char* name, const QByteArray& bytes, int status, const char* body) {
                  QTest::newRow(name) << bytes << status << QByteArray(body);
              };
        row("plain", "HTTP/1.1 200 OK\r\nContent-Length: 3\r\n\r\nabc", 200, "abc");
        row("older version", "HTTP/1.0 200 OK\r\nContent-Length: 3\r\n\r\nabc", 200, "abc");
        row("header in other letters", "HTTP/1.1 200 OK\r\ncOnTent-lENGTH:3 \r\n\r\nabc", 200,
            "abc");
        row("lines that end with a line feed", "HTTP/1.1 200 OK\nContent-Length: 3\n\nabc", 200,
            "abc");
        row("more than announced", "HTTP/1.1 200 OK\r\nContent-Length: 3\r\n\r\nabcdef", 200,
            "abc");
        row("empty", "HTTP/1.1 200 OK\r\nContent-Length: 0\r\n\r\n", 200, "");
        row("no reason", "HTTP/1.1 200\r\nContent-Length: 1\r\n\r\na", 200, "a");
        row("the largest", "HTTP/1.1 200 OK\r\nContent-Length: 100\r\n\r\n" + QByteArray(100, 'x'),
            200, QByteArray(100, 'x').constData());
        row("chunks",
            "HTTP/1.1 200 OK\r\nTransfer-Encoding: Chunked\r\nContent-Length: 9\r\n\r\n"
            "2\r\nab\r\n0A;x=\"y\"\r\n0123456789\r\n0\r\nx: y\r\n\r\n",
            200, "ab0123456789");
        row("no chunk", "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n0\r\n\r\n", 200, "");
        row("refusal", "HTTP/1.1 410 Transfer Expired\r\nContent-Length: 500\r\n\r\n", 410, "");
        row("after an interim one",
            "HTTP/1.1 103 Early Hints\r\nContent-Length: 70\r\nTransfer-Encoding: chunked\r\n\r\n"
            "HTTP/1.1 200 OK\r\nContent-Length: 1\r\n\r\na",
            200, "a");
        row("after two, a refusal",
            "HTTP/1.1 100 Continue\r\n\r\nHTTP/1.1 103 x\r\n\r\nHTTP/1.1 404 Not Found\r\n\r\n",
            404, "");
        row("another protocol from here on",
            "HTTP/1.1 101 Switching Protocols\r\n\r\nHTTP/1.1 200 OK\r\n\r\n", 101, "");
    }

    void wholeAnswers()
    {
        QFETCH(const QByteArray, bytes);
        for (const qsizetype piece : {qsizetype{1}, qsizetype{2}, qsizetype{7}, bytes.size()}) {
            HttpAnswer answer(largest);
            takeInPieces(answer, bytes, piece);
            QCOMPARE(answer.state(), State::Complete);
            QTEST(answer.status(), "status");
            QTEST(answer.body, "body");
        }
    }

    void announcedSizeIsKnownWithTheHead()
    {
        HttpAnswer answer(largest);
        QCOMPARE(answer.take("HTTP/1.1 200 OK\r\nContent-Length: 70\r\n"), State::Head);
        QCOMPARE(answer.expectedBody(), -1);
        QCOMPARE(answer.take("\r\nabc"), State::Body);
        QCOMPARE(answer.expectedBody(), 70);
        QCOMPARE(answer.body, QByteArray("abc"));
        QCOMPARE(answer.end(), State::Body); // incomplete
    }

    void bodyWithoutASizeEndsWithTheConnection()
    {
        HttpAnswer answer(largest);
        QCOMPARE(answer.take("HTTP/1.1 200 OK\r\n\r\nabc"), State::Body);
        QCOMPARE(answer.end(), State::Complete);
        QCOMPARE(answer.body, QByteArray("abc"));
    }

    void chunksThatStopAreCutOff()
    {
        HttpAnswer answer(largest);
        answer.take("HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n3\r\nabc\r\n0\r\n");
        QCOMPARE(answer.end(), State::Body);
    }

    void reasonIsKept()
    {
        HttpAnswer answer(largest);
        answer.take("HTTP/1.1 410  Transfer Expired \r\n\r\n");
        QCOMPARE(answer.reason(), std::string("Transfer Expired"));
    }

    void malformedAnswers_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        const auto row = [](const char* bytes) { QTest::newRow(bytes) << QByteArray(bytes); };
        row("SSH-2.0-Other\r\n");
        row("HTTP/2 200 OK\r\n");
        row("HTTP/1.1 OK\r\n");
        row("HTTP/1.1 20\r\n");
        row("HTTP/1.1 2000 OK\r\n");
        row("HTTP/1.1 099 OK\r\n");
        row("HTTP/1.1 -20 OK\r\n");
        row("\r\n");
        row("HTTP/1.1 200 OK\r\nContent-Length: -1\r\n\r\n");
        row("HTTP/1.1 200 OK\r\nContent-Length: \r\n\r\n");
        row("HTTP/1.1 200 OK\r\nContent-Length: 3x\r\n\r\n");
        row("HTTP/1.1 200 OK\r\nContent-Length: 99999999999999999999\r\n\r\n");
        row("HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\nxyz\r\n");
        row("HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n-1\r\n");
        row("HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n\r\n");
        row("HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n1\r\nab\r\n");
        QTest::newRow("endless head")
            << QByteArray("HTTP/1.1 200 OK\r\n") + QByteArray(70'000, 'x');
        QTest::newRow("endless headers")
            << QByteArray("HTTP/1.1 200 OK\r\n") + QByteArray("a: b\r\n").repeated(20'000);
        QTest::newRow("endless interim answers")
            << QByteArray("HTTP/1.1 103 x\r\n\r\n").repeated(5000);
        QTest::newRow("endless size of a chunk")
            << QByteArray("HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n")
                + QByteArray(70'000, '0');
    }

    void malformedAnswers()
    {
        QFETCH(const QByteArray, bytes);
        for (const qsizetype piece : {qsizetype{11}, bytes.size()}) {
            HttpAnswer answer(largest);
            takeInPieces(answer, bytes, piece);
            QCOMPARE(answer.state(), State::Malformed);
            QCOMPARE(answer.end(), State::Malformed);
        }
    }

    void tooLargeAnswers_data()
    {
        QTest::addColumn<QByteArray>("head");
        QTest::newRow("announced") << QByteArray("Content-Length: 101\r\n\r\n");
        QTest::newRow("to the end of the connection") << QByteArray("\r\n");
        QTest::newRow("one chunk") << QByteArray("Transfer-Encoding: chunked\r\n\r\nffff\r\n");
    }

    void tooLargeAnswers()
    {
        QFETCH(const QByteArray, head);
        HttpAnswer answer(largest);
        takeInPieces(answer, "HTTP/1.1 200 OK\r\n" + head + QByteArray(101, 'x'), 10);
        QCOMPARE(answer.state(), State::TooLarge);
        QVERIFY(answer.body.size() <= largest + 10);
    }

    void manySmallChunksTakeLittleTime()
    {
        constexpr int chunks = 200'000;
        HttpAnswer answer(chunks);
        QElapsedTimer timer;
        timer.start();
        const QByteArray bytes = "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n"
            + QByteArray("1\r\nx\r\n").repeated(chunks) + "0\r\n\r\n";
        takeInPieces(answer, bytes, 1'048'576);
        QCOMPARE(answer.state(), State::Complete);
        QCOMPARE(answer.body.size(), chunks);
        QVERIFY2(timer.elapsed() < 5000, qPrintable(QString::number(timer.elapsed())));
    }
};

QTEST_GUILESS_MAIN(HttpAnswerTest)
#include "HttpAnswerTest.moc"
