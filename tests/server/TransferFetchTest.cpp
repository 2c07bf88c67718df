#include "server/RunningServer.h"

#include "support/Printing.h"
#include "support/SealedByOthers.h"

#include <QtTest/QTest>

#include <future>

using namespace korvane;

/// Fetching a file with a ticket, over a connection.
class TransferFetchTest : public QObject {
    Q_OBJECT

private slots:
    void answerSaysWhatItIs()
    {
        const Offered offered("hello");
        const Response response = offered.fetch();
        QVERIFY(offered.isWhole(response));
        QCOMPARE(response.header("Content-Length"), QByteArray("33"));
        QCOMPARE(response.header("Connection"), QByteArray("close"));
        QCOMPARE(response.header("Cache-Control"), QByteArray("no-store"));
        QCOMPARE(response.header("Content-Type"), QByteArray("application/octet-stream"));
        QCOMPARE(response.header("Content-Disposition"),
            QByteArray("attachment; filename=\"Korvane-History.txt\""));
        QCOMPARE(response.head.count("\r\n"), 7);
    }

    void oneTicketIsFetchedByManyAtOnce()
    {
        const Offered offered(pattern(300'000));
        std::vector<std::future<Response>> fetches;
        for (int i = 0; i < 32; ++i)
            fetches.push_back(std::async(std::launch::async, [&] { return offered.fetch(); }));
        QSet<QByteArray> bodies;
        for (auto& fetch : fetches) {
            const Response response = fetch.get();
            QVERIFY(offered.isWhole(response));
            bodies.insert(response.body.first(Envelope::nonceSize));
        }
        QCOMPARE(bodies.size(), 32); // each body has its own nonce
    }

    void fetchBrokenOffIsRepeated()
    {
        const Offered offered(pattern(std::size_t{8} * 1024 * 1024));
        for (const bool reset : {false, true}) {
            Client client(offered.running.port());
            QVERIFY(client.send(headFor(offered.target)));
            QCOMPARE(client.readExactly(1024).value_or(QByteArray()).size(), 1024);
            if (reset)
                client.reset();
        }
        QVERIFY(offered.isWhole(offered.fetch()));
    }

    void ticketIsForTheGuidsOfTheMoment()
    {
        Offered offered("hello");
        const auto folder = offered.chat.setup.folder();
        const std::string guid = ExportSetup::guid(1);
        offered.running.server().offer({ExportSetup::guid(2)}, folder);
        QCOMPARE(offered.status(), 404);
        offered.running.server().offer({}, folder);
        QCOMPARE(offered.status(), 404);
        offered.running.server().offer({guid, ExportSetup::guid(2)}, folder);
        QCOMPARE(offered.status(), 200);
        offered.running.server().offer({guid}, folder / "elsewhere");
        QCOMPARE(offered.status(), 404);
        offered.running.server().offer({guid}, folder);
        QCOMPARE(offered.status(), 200);
    }

    void changeDuringAFetchDoesNotReachIt()
    {
        Offered offered(pattern(std::size_t{32} * 1024 * 1024));
        const Client client(offered.running.port(), {.receiveBuffer = 64 * 1024});
        QVERIFY(client.send(headFor(offered.target)));
        const QByteArray start = client.readExactly(1024).value_or(QByteArray());
        offered.running.server().offer({}, "/");
        writeFile(offered.chat.setup.file(1), "other");
        QCOMPARE(offered.status(), 404);
        QVERIFY(offered.isWhole(taken(start + client.readAll().value_or(QByteArray()))));
    }

    void ticketRunsOutAfterTenMinutes()
    {
        Offered offered("hello");
        offered.running.advance(std::chrono::seconds(599));
        QVERIFY(offered.isWhole(offered.fetch()));
        offered.running.advance(std::chrono::seconds(1));
        QCOMPARE(offered.status(), 410);
        const std::string old = offered.target;
        offered.issue();
        QVERIFY(offered.isWhole(offered.fetch()));
        QCOMPARE(get(offered.running.port(), old).status, 410);
    }

    void queryIsPartOfTheSeal()
    {
        Offered offered("hello");
        offered.target += "?from=phone";
        QVERIFY(offered.isWhole(offered.fetch()));
        const Response response = offered.fetch();
        offered.target.resize(offered.target.find('?'));
        QVERIFY(!offered.isWhole(response));
    }

    void emptyFileIsASealAlone()
    {
        const Offered offered("");
        const Response response = offered.fetch();
        QCOMPARE(response.body.size(), 28);
        QVERIFY(offered.isWhole(response));
    }

    void largestFileIsFetched()
    {
        const Offered offered(pattern(largest));
        const Response response = offered.fetch();
        QCOMPARE(response.header("Content-Length"), QByteArray("67108892"));
        QVERIFY(offered.isWhole(response));
    }

    void oneByteMoreGetsNoTicketAndNoAnswer()
    {
        Offered offered("hello");
        offered.chat.resize(largest + 1);
        QVERIFY(!offered.running.server().issueTransfer(offered.chat.fileName()));
        QCOMPARE(offered.status(), 404); // the file has grown since the ticket was issued
        offered.chat.resize(largest);
        QCOMPARE(offered.fetch().body.size(), sealedSize(largest));
    }

    void fileThatIsGoneIsNotFound()
    {
        const Offered offered("hello");
        std::filesystem::remove(offered.chat.setup.file(1));
        QCOMPARE(offered.status(), 404);
    }

    void folderInPlaceOfTheFileIsNotFound()
    {
        const Offered offered("hello");
        const auto file = offered.chat.setup.file(1);
        std::filesystem::remove(file);
        std::filesystem::create_directory(file);
        const Response response = offered.fetch();
        QCOMPARE(response.status, 404);
        QVERIFY(response.head.startsWith("HTTP/1.1 404 Not Found\r\nContent-Length: 0\r\n"));
        QCOMPARE(response.body, QByteArray());
    }

    void otherTicketsAreNone()
    {
        const Offered offered("hello");
        const std::uint16_t port = offered.running.port();
        QCOMPARE(get(port, offered.target + "x").status, 410);
        QCOMPARE(get(port, offered.target + "/").status, 404);
        QCOMPARE(get(port, offered.target + "%20").status, 410);
        QCOMPARE(get(port, "/v1/transfer/").status, 404);
        QCOMPARE(get(port, "/v1/transfer").status, 401);
    }

private:
    static constexpr std::uintmax_t largest = 67'108'864;

    /// Pseudo-random bytes, so that a missing, repeated or misplaced piece shows.
    static std::string pattern(std::size_t size)
    {
        std::string bytes(size, '\0');
        std::uint32_t state = 1;
        for (char& byte : bytes) {
            state = state * 1664525 + 1013904223;
            byte = static_cast<char>(state >> 24);
        }
        return bytes;
    }

    /// A server, a chat whose file has these bytes, and a ticket for it.
    struct Offered {
        explicit Offered(const std::string& bytes) : contents(bytes)
        {
            writeFile(chat.setup.file(1), bytes);
            chat.offer(running.server());
            issue();
        }

        void issue()
        {
            const auto issued = running.server().issueTransfer(chat.fileName()).value();
            key = issued.key.bytes();
            target = "/v1/transfer/" + issued.ticket;
        }

        Response fetch() const { return get(running.port(), target); }
        int status() const { return fetch().status; }

        bool isWhole(const Response& response) const
        {
            const auto text = SealedByOthers::open(key, response.body, target);
            return response.status == 200 && text && text->toStdString() == contents;
        }

        ExportedChat chat;
        std::string contents;
        RunningServer running{chat.setup.support()};
        QByteArray key;
        std::string target;
    };
};

QTEST_GUILESS_MAIN(TransferFetchTest)
#include "TransferFetchTest.moc"
