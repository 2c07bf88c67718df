#include "server/RunningServer.h"

#include "support/Printing.h"
#include "support/SealedByOthers.h"

#include <QtTest/QTest>

#include <map>
#include <thread>

using namespace korvane;

/// Request heads sent over a connection, and the response to each.
class RequestHeadsTest : public QObject {
    Q_OBJECT

private slots:
    void initTestCase()
    {
        m_chat.emplace();
        m_running = std::make_unique<RunningServer>(m_chat->setup.support());
        m_chat->offer(m_running->server());
    }

    void cleanupTestCase()
    {
        m_running.reset();
        m_chat.reset();
    }

    void eachHeadGetsItsAnswer_data()
    {
        QTest::addColumn<QByteArray>("sent");
        QTest::addColumn<int>("status");
        const QByteArray line = "GET /v1/manifest HTTP/1.1\r\n";

        add("plain", line + "<auth>\r\n", 200);
        add("without a header", line + "\r\n", 401);
        add("without a version", "GET /v1/manifest\r\n<auth>\r\n", 200);
        add("another version", "GET /v1/manifest HTTP/1.0\r\n<auth>\r\n", 200);
        add("no version at all", "GET /v1/manifest nonsense and more\r\n<auth>\r\n", 200);
        add("several blanks between", "GET   /v1/manifest  HTTP/1.1\r\n<auth>\r\n", 200);
        add("blanks around", "  GET /v1/manifest  \r\n<auth>\r\n", 200);
        add("tab between", "GET\t/v1/manifest HTTP/1.1\r\n<auth>\r\n", 405);

        add("nothing but a blank line", "\r\n\r\n", 405);
        add("several blank lines first", "\r\n\r\n\r\n" + line + "<auth>\r\n", 405);
        add("one line end first", "\r\n" + line + "<auth>\r\n", 405);
        add("no target", "GET\r\n<auth>\r\n", 405);
        add("blank for a target", "GET \r\n<auth>\r\n", 405);
        add("only blanks", "   \r\n\r\n", 405);

        add("lower-case method", "get /v1/manifest HTTP/1.1\r\n<auth>\r\n", 405);
        add("capitalised method", "Get /v1/manifest HTTP/1.1\r\n<auth>\r\n", 405);
        add("longer method", "GETS /v1/manifest HTTP/1.1\r\n<auth>\r\n", 405);
        add("HEAD", "HEAD /v1/manifest HTTP/1.1\r\n<auth>\r\n", 405);
        add("OPTIONS", "OPTIONS * HTTP/1.1\r\n<auth>\r\n", 405);
        add("POST with a body",
            "POST /v1/manifest HTTP/1.1\r\n<auth>Content-Length: 5\r\n\r\nhello", 405);
        add("the preface of HTTP/2", "PRI * HTTP/2.0\r\n\r\nSM\r\n\r\n", 405);

        add("absolute target", "GET http://127.0.0.1/v1/manifest HTTP/1.1\r\n<auth>\r\n", 404);
        add("absolute target, no token", "GET http://127.0.0.1/v1/manifest HTTP/1.1\r\n\r\n", 401);
        add("asterisk target", "GET * HTTP/1.1\r\n<auth>\r\n", 404);
        add("asterisk target, no token", "GET * HTTP/1.1\r\n\r\n", 401);
        add("target without its slash", "GET v1/manifest HTTP/1.1\r\n<auth>\r\n", 404);
        add("unknown ticket", "GET /v1/transfer/unknown HTTP/1.1\r\n\r\n", 410);
        add("no ticket", "GET /v1/transfer/ HTTP/1.1\r\n\r\n", 404);

        add("header in capitals", line + "AUTHORIZATION: Bearer <token>\r\n\r\n", 200);
        add("header without a blank", line + "authorization:Bearer <token>\r\n\r\n", 200);
        add("blanks and tabs around", line + "Authorization: \t Bearer <token> \t\r\n\r\n", 200);
        add("two blanks inside", line + "Authorization: Bearer  <token>\r\n\r\n", 401);
        add("blank before the colon", line + "Authorization : Bearer <token>\r\n\r\n", 401);
        add("lines without a colon", line + "nonsense\r\n<auth>more of it\r\n\r\n", 200);
        add("lines of a colon", line + ":\r\n::\r\n<auth>\r\n", 200);
        add("doubled, the right one last", line + "Authorization: Bearer wrong\r\n<auth>\r\n", 200);
        add("doubled, the right one first", line + "<auth>Authorization: Bearer wrong\r\n\r\n",
            401);
        add("doubled in another case", line + "<auth>authorization: no\r\n\r\n", 401);
        add("folded header", line + "Authorization: Bearer\r\n <token>\r\n\r\n", 401);
        add("header behind a blank", line + " <auth>\r\n", 401);
        add("folded colon is a header of its own", line + "<auth> Authorization: x\r\n\r\n", 200);
        add("thousands of headers", line + QByteArray("a:b\r\n").repeated(3000) + "<auth>\r\n",
            200);
        add("thousands behind it", line + "<auth>" + QByteArray("a:b\r\n").repeated(3000) + "\r\n",
            200);

        add("bare line feed ends no line", "GET /v1/manifest HTTP/1.1\n<auth>\r\n", 401);
        add("bare line feed in a value", line + "x: a\nb\r\n<auth>\r\n", 200);
        add("bare return in a value", line + "x: a\rb\r\n<auth>\r\n", 200);
        const QByteArray nul("\0", 1);
        add("NUL in another header", line + "x: a" + nul + "b\r\n<auth>\r\n", 200);
        add("NUL in the method", "GET" + nul + " /v1/manifest HTTP/1.1\r\n<auth>\r\n", 405);
        add("NUL in the target", "GET /v1/manifest" + nul + " HTTP/1.1\r\n<auth>\r\n", 404);
        add("NUL first", nul + line + "<auth>\r\n", 405);
        add("high bytes in another header", line + "x: \xff\xfe\xc3\r\n<auth>\r\n", 200);
        add("high bytes in the target", "GET /v1/manifest\xff HTTP/1.1\r\n<auth>\r\n", 404);
        add("UTF-8 in the target", "GET /v1/transfer/\xc3\xa4 HTTP/1.1\r\n\r\n", 410);
        add("high bytes in the method", "G\xc3\xa4T /v1/manifest HTTP/1.1\r\n<auth>\r\n", 405);
        add("start of a TLS connection", QByteArray("\x16\x03\x01\0\xa5\r\n\r\n", 9), 405);

        add("one byte too much", QByteArray(most + 1, 'x'), dropped);
        add("much too much", "GET /" + QByteArray(1'000'000, 'x'), dropped);
        add("too many line feeds", QByteArray(2 * most, '\n'), dropped);
    }

    void eachHeadGetsItsAnswer()
    {
        QFETCH(const QByteArray, sent);
        QFETCH(const int, status);
        const Client client(m_running->port());
        client.send(completed(sent).toStdString());
        if (status == dropped) {
            QVERIFY(client.isClosedWithin(Client::timeout));
            return;
        }
        const QByteArray all = client.readAll().value_or("(reset)");
        if (status == 200)
            QVERIFY(isManifest(taken(all)));
        else
            QCOMPARE(all, refusal(status));
    }

    void targetIsTakenAsSent_data()
    {
        QTest::addColumn<QByteArray>("target");
        QTest::newRow("query") << QByteArray("/v1/manifest?a=%20b&c");
        QTest::newRow("empty query") << QByteArray("/v1/manifest?");
        QTest::newRow("fragment") << QByteArray("/v1/manifest#top");
    }

    void targetIsTakenAsSent()
    {
        QFETCH(const QByteArray, target);
        const auto response
            = get(m_running->port(), target.toStdString(), m_running->authorization());
        QVERIFY(isManifest(response, target.toStdString()));
        QVERIFY(!isManifest(response)); // the seal is bound to the target as it was sent
    }

    void answerHasItsLengthAndEndsWithABlankLine()
    {
        const Response response = ask(m_running->port(), manifestHead());
        QVERIFY(isManifest(response));
        QCOMPARE(response.head,
            "HTTP/1.1 200 OK\r\nContent-Length: " + QByteArray::number(response.body.size())
                + "\r\nConnection: close\r\nCache-Control: no-store\r\n"
                  "Content-Type: application/octet-stream\r\n\r\n");
    }

    void headMayBeSplitAtAnyByte()
    {
        const std::string head = manifestHead();
        for (std::size_t at = 1; at < head.size(); ++at) {
            const std::string_view whole = head;
            QVERIFY2(isManifest(taken(answerTo({whole.substr(0, at), whole.substr(at)}))),
                std::to_string(at).c_str());
        }
    }

    void headMayComeByteByByte()
    {
        const std::string head = manifestHead();
        std::vector<std::string_view> bytes;
        for (std::size_t at = 0; at < head.size(); ++at)
            bytes.push_back(std::string_view(head).substr(at, 1));
        QVERIFY(isManifest(taken(answerTo(bytes))));
    }

    void largestHeads()
    {
        for (const std::size_t size : {most - 1, most, most + 1})
            QVERIFY2(
                isManifest(ask(m_running->port(), headOfSize(size))), std::to_string(size).c_str());
    }

    void headMayEndBehindTheLastByteAllowedWithoutItsEnd()
    {
        const std::string head = headOfSize(most + 4);
        const std::string_view whole = head;
        QVERIFY(isManifest(taken(answerTo({whole.substr(0, most), whole.substr(most)}))));
    }

    void oneByteMoreWithoutAnEndIsDropped()
    {
        const std::string head = headOfSize(most + 5);
        const Client client(m_running->port());
        QVERIFY(client.send(std::string_view(head).substr(0, most)));
        QVERIFY(!client.isClosedWithin(std::chrono::milliseconds(100)));
        QVERIFY(client.send(std::string_view(head).substr(most, 1)));
        QVERIFY(client.isClosedWithin(Client::timeout));
    }

    void whatFollowsTheBlankLineIsIgnored_data()
    {
        QTest::addColumn<int>("size");
        QTest::newRow("another request") << 0;
        QTest::newRow("one byte") << 1;
        QTest::newRow("more than is read at once") << 100'000;
        QTest::newRow("1 MB") << 1'000'000;
    }

    void whatFollowsTheBlankLineIsIgnored()
    {
        QFETCH(const int, size);
        const std::string more
            = size == 0 ? manifestHead() : std::string(static_cast<std::size_t>(size), '\n');
        QVERIFY(isManifest(ask(m_running->port(), manifestHead() + more)));
        const std::string post = "POST /v1/manifest HTTP/1.1\r\nContent-Length: "
            + std::to_string(more.size()) + "\r\n\r\n" + more;
        const Client client(m_running->port());
        client.send(post);
        QCOMPARE(client.readAll().value_or("(reset)"), refusal(405));
    }

    void halfClosedClientGetsItsWholeAnswer()
    {
        constexpr qsizetype size = qsizetype{20} * 1024 * 1024;
        const ExportedChat& chat = *m_chat;
        chat.resize(size);
        const Client client(m_running->port(), {.receiveBuffer = 64 * 1024, .segment = 1400});
        QVERIFY(client.send(headFor(m_running->targetFor(chat.fileName()))));
        client.finishSending();
        QTest::qSleep(50); // the server reads our FIN before it can send everything
        const Response response = taken(client.readAll().value_or(QByteArray()));
        QCOMPARE(response.status, 200);
        QCOMPARE(response.body.size(), sealedSize(size));
    }

    void endBeforeTheBlankLineGetsNoByte_data()
    {
        QTest::addColumn<QByteArray>("sent");
        QTest::newRow("nothing") << QByteArray();
        QTest::newRow("half a line") << QByteArray("GET /v1/manif");
        QTest::newRow("all but its last byte") << QByteArray("GET / HTTP/1.1\r\n\r");
        QTest::newRow("bare line feeds") << QByteArray("GET / HTTP/1.1\n\n");
        QTest::newRow("bare returns") << QByteArray("GET / HTTP/1.1\r\r");
        QTest::newRow("line feed and return") << QByteArray("GET / HTTP/1.1\n\r\n\r");
    }

    void endBeforeTheBlankLineGetsNoByte()
    {
        QFETCH(const QByteArray, sent);
        const Client client(m_running->port());
        QVERIFY(client.send(sent.toStdString()));
        QVERIFY(!client.isClosedWithin(std::chrono::milliseconds(20)));
        client.finishSending();
        QVERIFY(client.isClosedWithin(Client::timeout));
    }

private:
    std::optional<ExportedChat> m_chat;
    std::unique_ptr<RunningServer> m_running;

    static constexpr int dropped = 0; ///< in place of a status: closed without a response
    static constexpr std::size_t most = 16'384; ///< limit of bytes without the end of a head

    /// Replaces "<token>" by the token and "<auth>" by the Authorization header line.
    QByteArray completed(QByteArray text) const
    {
        text.replace(
            "<token>", QByteArray::fromStdString(m_running->server().state().pairing.token));
        return text.replace("<auth>", QByteArray::fromStdString(m_running->authorization()));
    }

    std::string manifestHead() const
    {
        return completed("GET /v1/manifest x\r\n<auth>\r\n").toStdString();
    }

    bool isManifest(const Response& response, std::string_view target = "/v1/manifest") const
    {
        const auto text = SealedByOthers::open(m_running->key(), response.body, target);
        return response.status == 200 && text && text->startsWith("{\"chats\":[{");
    }

    /// Sends the pieces with pauses, so that the server reads each on its own, and returns all that
    /// comes back.
    QByteArray answerTo(const std::vector<std::string_view>& pieces) const
    {
        const Client client(m_running->port());
        for (const std::string_view piece : pieces) {
            client.send(piece);
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
        return client.readAll().value_or(QByteArray());
    }

    static QByteArray refusal(const QByteArray& statusAndReason)
    {
        return "HTTP/1.1 " + statusAndReason
            + "\r\nContent-Length: 0\r\nConnection: close\r\nCache-Control: no-store\r\n\r\n";
    }

    static QByteArray refusal(int status)
    {
        const std::map<int, QByteArray> reasons{{401, "401 Unauthorized"}, {404, "404 Not Found"},
            {405, "405 Method Not Allowed"}, {410, "410 Transfer Expired"},
            {416, "416 Range Not Satisfiable"}};
        return refusal(reasons.at(status));
    }

    /// An authorized request for the manifest, padded to `size` bytes including the blank line.
    std::string headOfSize(std::size_t size) const
    {
        std::string head = manifestHead();
        head.insert(head.size() - 2, "x:\r\n");
        head.insert(head.size() - 4, size - head.size(), 'x');
        return head;
    }

    static void add(const char* name, const QByteArray& sent, int status)
    {
        QTest::newRow(name) << sent << status;
    }
};

QTEST_GUILESS_MAIN(RequestHeadsTest)
#include "RequestHeadsTest.moc"
