#include "server/Http.h"

#include "support/Printing.h"

#include <QtTest/QTest>

using namespace korvane;

/// The head of a response, byte for byte.
class HttpResponseTest : public QObject {
    Q_OBJECT

private slots:
    void aRefusalHasJustTheFixedHeaders_data()
    {
        QTest::addColumn<HttpResponse>("response");
        QTest::addColumn<std::string>("line");
        const auto row = [](const HttpResponse& response, const char* line) {
            QTest::newRow(line) << response << std::string(line);
        };
        row(HttpResponse::unauthorized(), "401 Unauthorized");
        row(HttpResponse::notFound(), "404 Not Found");
        row(HttpResponse::methodNotAllowed(), "405 Method Not Allowed");
        row(HttpResponse::transferExpired(), "410 Transfer Expired");
        row(HttpResponse::rangeNotSatisfiable(), "416 Range Not Satisfiable");
        row(HttpResponse::serverError(), "500 Server Error");
        row(HttpResponse::transferFailed(), "500 Transfer Failed");
    }

    void aRefusalHasJustTheFixedHeaders()
    {
        QFETCH(HttpResponse, response);
        QFETCH(std::string, line);
        QCOMPARE(response.head(),
            "HTTP/1.1 " + line
                + "\r\nContent-Length: 0\r\nConnection: close\r\nCache-Control: no-store\r\n\r\n");
        QVERIFY(response.body.isEmpty());
    }

    void theLengthIsThatOfTheBody_data()
    {
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<std::string>("length");
        QTest::newRow("no body") << QByteArray() << std::string("0");
        QTest::newRow("three bytes") << QByteArray("abc") << std::string("3");
        QTest::newRow("zero bytes count") << QByteArray(5, '\0') << std::string("5");
        QTest::newRow("bytes count, not characters")
            << QByteArray("\u00e9\u20ac") << std::string("5");
        QTest::newRow("a large one") << QByteArray(4'194'332, 'x') << std::string("4194332");
    }

    void theLengthIsThatOfTheBody()
    {
        QFETCH(QByteArray, body);
        QFETCH(std::string, length);
        const HttpResponse response = HttpResponse::ok({}, body);
        QCOMPARE(response.head(),
            "HTTP/1.1 200 OK\r\nContent-Length: " + length
                + "\r\nConnection: close\r\nCache-Control: no-store\r\n\r\n");
        QCOMPARE(response.body, body);
    }

    void headersOfItsOwnFollowTheFixedOnes()
    {
        const HttpResponse response = HttpResponse::ok(
            {{"X-Offset", "5"}, {"Content-Disposition", "attachment; filename=\"a.txt\""}}, "abc");
        QCOMPARE(response.head(),
            "HTTP/1.1 200 OK\r\nContent-Length: 3\r\nConnection: close\r\nCache-Control: "
            "no-store\r\n"
            "X-Offset: 5\r\nContent-Disposition: attachment; filename=\"a.txt\"\r\n\r\n");
    }
};

QTEST_GUILESS_MAIN(HttpResponseTest)
#include "HttpResponseTest.moc"
