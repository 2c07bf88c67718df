#include "server/Http.h"

#include "support/Printing.h"

#include <QtTest/QTest>

using namespace korvane;
using namespace std::string_literals;

/// Parsing the head of a request.
class HttpRequestTest : public QObject {
    Q_OBJECT

private slots:
    void theSecondWordIsTheTarget_data()
    {
        QTest::addColumn<std::string>("head");
        QTest::addColumn<std::string>("target");
        const std::string replaced = "\uFFFD";
        const auto row = [](const char* name, const std::string& head, const std::string& target) {
            QTest::newRow(name) << head << target;
        };
        row("a plain request", "GET /v1/manifest HTTP/1.1", "/v1/manifest");
        row("escapes and a query", "GET /v1/files/a%20b?offset=5 HTTP/1.1",
            "/v1/files/a%20b?offset=5");
        row("no protocol version", "GET /", "/");
        row("another protocol", "GET / SPDY/99", "/");
        row("a fourth word", "GET / HTTP/1.1 more", "/");
        row("two spaces", "GET  /  HTTP/1.1", "/");
        row("leading spaces", "   GET / HTTP/1.1", "/");
        row("trailing spaces", "GET /   ", "/");
        row("with headers", "GET / HTTP/1.1\r\nHost: h", "/");
        row("headers, but no version", "GET /\r\nHost: h", "/");
        row("an absolute target", "GET http://h/v1/manifest HTTP/1.1", "http://h/v1/manifest");
        row("an asterisk", "GET * HTTP/1.1", "*");
        row("no slash", "GET v1 HTTP/1.1", "v1");
        row("a tab in the target", "GET /a\tb HTTP/1.1", "/a\tb");
        row("a zero byte in the target", "GET /a\0b HTTP/1.1"s, "/a\0b"s);
        row("letters beyond ASCII", "GET /\u00e9 HTTP/1.1", "/\u00e9");
        row("a byte that is no UTF-8", "GET /\xFF HTTP/1.1", "/" + replaced);
        row("two bytes that are no UTF-8", "GET /\x80\xFF HTTP/1.1", "/" + replaced + replaced);
        row("a character cut short", "GET /\xE2\x82 HTTP/1.1", "/" + replaced);
        row("a character cut short by the end", "GET /\xF0\x9F\x98", "/" + replaced);
        row("a bare line feed", "GET /a\nHost: h", "/a\nHost:");
        row("a bare carriage return", "GET /a\rHost: h", "/a\rHost:");
    }

    void theSecondWordIsTheTarget()
    {
        QFETCH(std::string, head);
        QFETCH(std::string, target);
        const auto request = HttpRequest::fromHead(head);
        QVERIFY(request);
        QVERIFY2(request->target == target, request->target.c_str()); // it may hold a NUL byte
    }

    void whatDoesNotGetATargetIsNoRequest_data()
    {
        QTest::addColumn<std::string>("head");
        QTest::newRow("nothing") << ""s;
        QTest::newRow("only spaces") << "   "s;
        QTest::newRow("an empty first line") << "\r\nGET / HTTP/1.1"s;
        QTest::newRow("no target") << "GET"s;
        QTest::newRow("no target but a space") << "GET "s;
        QTest::newRow("the target on the second line") << "GET\r\n/ HTTP/1.1"s;
        QTest::newRow("no method") << "/ HTTP/1.1"s;
        QTest::newRow("no method but a space") << " / HTTP/1.1"s;
        QTest::newRow("lower case") << "get / HTTP/1.1"s;
        QTest::newRow("mixed case") << "Get / HTTP/1.1"s;
        for (const char* method :
            {"HEAD", "POST", "PUT", "DELETE", "OPTIONS", "GETS", "GE", "TGET"})
            QTest::newRow(method) << std::string(method) + " / HTTP/1.1";
        QTest::newRow("a tab between the words") << "GET\t/ HTTP/1.1"s;
        QTest::newRow("a tab in front") << "\tGET / HTTP/1.1"s;
        QTest::newRow("a line feed between the words") << "GET\n/ HTTP/1.1"s;
        QTest::newRow("a line feed in front") << "\nGET / HTTP/1.1"s;
        QTest::newRow("a no-break space between the words") << "GET\u00a0/ HTTP/1.1"s;
        QTest::newRow("a byte order mark") << "\uFEFFGET / HTTP/1.1"s;
        QTest::newRow("a zero byte in front") << "\0GET / HTTP/1.1"s;
        QTest::newRow("a zero byte in the method") << "GET\0 / HTTP/1.1"s;
        QTest::newRow("a byte that is no UTF-8 in the method") << "GET\xFF / HTTP/1.1"s;
        QTest::newRow("the start of TLS") << "\x16\x03\x01\x02\0\x01\0\x01\xFC\x03\x03 GET /"s;
    }

    void whatDoesNotGetATargetIsNoRequest()
    {
        QFETCH(std::string, head);
        QVERIFY(!HttpRequest::fromHead(head));
    }

    void headersAreReadLineByLine_data()
    {
        QTest::addColumn<std::string>("lines");
        QTest::addColumn<std::string>("headers");
        const auto row
            = [](const char* name, const std::string& lines, const std::string& headers) {
                  QTest::newRow(name) << lines << headers;
              };
        row("none", "", "");
        row("one", "Host: h", "host=h;");
        row("two", "B: 2\r\nA: 1", "a=1;b=2;");
        row("a line end at the end", "Host: h\r\n", "host=h;");
        row("spaces around the value", "Authorization:   Bearer x  ", "authorization=Bearer x;");
        row("tabs around the value", "A:\t 1 \t", "a=1;");
        row("blanks within the value", "A: 1 \t 2", "a=1 \t 2;");
        row("no space after the colon", "A:1", "a=1;");
        row("the value keeps its case", "A: XyZ", "a=XyZ;");
        row("a name in capitals", "AUTHORIZATION: x", "authorization=x;");
        row("a name of every letter", "ABCDEFGHIJKLMNOPQRSTUVWXYZ@[`{: x",
            "abcdefghijklmnopqrstuvwxyz@[`{=x;");
        row("no colon", "Host h", "");
        row("no colon between others", "A: 1\r\nnothing\r\nB: 2", "a=1;b=2;");
        row("more than one colon", "Host: h:80:", "host=h:80:;");
        row("no value", "A:", "a=;");
        row("a value of blanks", "A: \t ", "a=;");
        row("no name", ": 1", "=1;");
        row("a space before the colon", "A : 1", "a =1;");
        row("a space before the name", " A: 1", " a=1;");
        row("the same name twice", "A: 1\r\nA: 2", "a=2;");
        row("the same name in another case", "a: 1\r\nB: 2\r\nA: 3", "a=3;b=2;");
        row("twice, then empty", "A: 1\r\nA:", "a=;");
        row("folded", "A: 1\r\n 2", "a=1;");
        row("folded with a colon", "A: 1\r\n B: 2", " b=2;a=1;");
        row("a bare line feed", "A: 1\nB: 2", "a=1\nB: 2;");
        row("a bare carriage return", "A: 1\rB: 2\r", "a=1\rB: 2\r;");
        row("an empty line between", "A: 1\r\n\r\nB: 2", "a=1;b=2;");
        row("other blanks stay", "A: \v\u00a01\f", "a=\v\u00a01\f;");
        row("letters beyond ASCII", "A: \u00c9", "a=\u00c9;");
        row("bytes that are no UTF-8", "A\xFF: \xC3", "a\uFFFD=\uFFFD;");
    }

    void headersAreReadLineByLine()
    {
        QFETCH(std::string, lines);
        QFETCH(std::string, headers);
        QCOMPARE(headersIn(lines), headers);
    }

    void thousandsOfHeadersAreRead()
    {
        constexpr int count = 5000;
        std::string head = "GET / HTTP/1.1";
        for (int i = 0; i < count; ++i)
            head += "\r\nX-" + std::to_string(i) + ": " + std::to_string(2 * i);
        const auto request = HttpRequest::fromHead(head);
        QVERIFY(request);
        QCOMPARE(request->headers.size(), std::size_t{count});
        QCOMPARE(request->headers.at("x-0"), "0");
        QCOMPARE(request->headers.at("x-4999"), "9998");
    }

    void aHugeHeaderIsRead()
    {
        const std::string value(1'000'000, 'v');
        const auto request = HttpRequest::fromHead("GET / HTTP/1.1\r\nA: " + value);
        QVERIFY(request);
        QCOMPARE(request->headers.at("a"), value);
    }

private:
    /// The headers parsed from `lines`, as "name=value;" in order of name.
    static std::string headersIn(const std::string& lines)
    {
        const auto request = HttpRequest::fromHead("GET / HTTP/1.1\r\n" + lines);
        std::string text;
        for (const auto& [name, value] : request.value().headers)
            text.append(name).append(1, '=').append(value).append(1, ';');
        return text;
    }
};

QTEST_GUILESS_MAIN(HttpRequestTest)
#include "HttpRequestTest.moc"
