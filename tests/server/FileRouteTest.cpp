#include "server/Offer.h"

#include "support/Printing.h"

#include <QtTest/QTest>

#include <fstream>

using namespace korvane;
using namespace std::string_literals;

namespace fs = std::filesystem;

/// The route "/v1/files/<name>": fetching a file from an offset on.
class FileRouteTest : public QObject {
    Q_OBJECT

private slots:
    void servesFromTheOffsetOn_data()
    {
        QTest::addColumn<std::string>("query");
        QTest::addColumn<int>("offset");
        const auto row = [](const char* query, int offset) {
            QTest::newRow(query) << std::string(query) << offset;
        };
        row("", 0);
        row("?", 0);
        row("?offset=0", 0);
        row("?offset=4", 4);
        row("?offset=9", 9);
        row("?offset=10", 10); // the size: an empty piece
        row("?offset=+4", 4);
        row("?offset=%2B4", 4);
        row("?offset=-0", 0);
        row("?offset=004", 4);
        row("?offset=%34", 4);
        row("?%6Fffset=4", 4);
        row("?offset=4#offset=5", 4);
        row("?x=1&offset=4&y=2", 4);
        row("?&offset=4&", 4);
        row("?x=%ff&offset=4", 4);
        row("?offset=2&offset=4", 2);
        row("?offset=abc&offset=4", 0);
        row("?offset&offset=4", 0);
        row("?offset", 0);
        row("?offset=", 0);
        row("?offset=abc", 0);
        row("?offset=4%20", 0);
        row("?offset=%204", 0);
        row("?offset=4x", 0);
        row("?offset=0x4", 0);
        row("?offset=4.0", 0);
        row("?offset=4?5", 0);
        row("?offset=%D9%A4", 0);
        row("?offset=%ff", 0);
        row("?offset=4%00", 0);
        row("?offset=+-4", 0);
        row("?offset=9223372036854775808", 0);
        row("?offset=-9223372036854775809", 0);
        row("?offset=18446744073709551620", 0);
        row("?Offset=4", 0);
        row("?x=1;offset=4", 0);
        row("#?offset=4", 0);
    }

    void servesFromTheOffsetOn()
    {
        QFETCH(std::string, query);
        QFETCH(int, offset);
        Offer offer;
        offer.add(2, "a.txt");
        const std::string target = "/v1/files/a.txt" + query;
        const Answer answer = offer.getPaired(target);
        QCOMPARE(summary(answer), "200 OK");
        QVERIFY(answer.kind == Answer::Kind::File);
        const std::string rest = std::string("0123456789").substr(static_cast<std::size_t>(offset));
        QCOMPARE(offer.opened(answer, target), rest);
        QCOMPARE(answer.response.body.size(), static_cast<qsizetype>(28 + rest.size()));
        QCOMPARE(headersOf(answer).at("X-Offset"), std::to_string(offset));
    }

    void refusesOtherOffsets_data()
    {
        QTest::addColumn<std::string>("offset");
        for (const char* offset : {"-1", "11", "4194304", "9223372036854775807",
                 "+9223372036854775807", "-9223372036854775808", "%2D1", "-1&offset=4"})
            QTest::newRow(offset) << std::string(offset);
    }

    void refusesOtherOffsets()
    {
        QFETCH(std::string, offset);
        Offer offer;
        offer.add(2, "a.txt");
        const Answer answer = offer.getPaired("/v1/files/a.txt?offset=" + offset);
        QCOMPARE(summary(answer), "416 Range Not Satisfiable");
    }

    void tellsSizeOffsetAndEpoch()
    {
        Offer offer;
        offer.add(2, "a.txt");
        offer.chat.setup.setRecord(
            2, {.lastRowID = 1, .fileName = "a.txt", .epoch = "e/\u00e9 \"1\""});
        QVERIFY(headersOf(offer.getPaired("/v1/files/a.txt?offset=%2B4"))
            == (std::map<std::string, std::string>{{"Content-Type", "application/octet-stream"},
                {"X-File-Size", "10"}, {"X-Offset", "4"}, {"X-Epoch", "e/\u00e9 \"1\""}}));
        offer.chat.setup.setRecord(2, {.lastRowID = 1, .fileName = "a.txt"});
        QCOMPARE(headersOf(offer.getPaired("/v1/files/a.txt")).at("X-Epoch"), "0");
    }

    void aPieceIsAtMost4MiB()
    {
        constexpr std::size_t most = 4'194'304;
        Offer offer;
        std::string bytes(most + 1, 'a');
        bytes[1] = 'b';
        bytes[most - 1] = 'y';
        bytes[most] = 'z';
        offer.add(2, "a.txt", bytes);
        const auto from = [&](std::size_t offset) {
            const std::string target = "/v1/files/a.txt?offset=" + std::to_string(offset);
            return offer.opened(offer.getPaired(target), target).value_or("(not opened)");
        };
        QVERIFY(from(0) == bytes.substr(0, most));
        QVERIFY(from(1) == bytes.substr(1));
        QVERIFY(from(2) == bytes.substr(2));
        QCOMPARE(from(most), "z");
        QCOMPARE(from(most + 1), "");
    }

    void servesTheEndOfAHugeFile()
    {
        Offer offer;
        offer.add(2, "a.txt");
        fs::resize_file(offer.state.folder / "a.txt", 5'000'000'000);
        std::ofstream(offer.state.folder / "a.txt", std::ios::app) << "end";
        const std::string target = "/v1/files/a.txt?offset=4999999999";
        const Answer answer = offer.getPaired(target);
        QCOMPARE(offer.opened(answer, target), "\0end"s);
        QCOMPARE(headersOf(answer).at("X-File-Size"), "5000000003");
        QCOMPARE(headersOf(answer).at("X-Offset"), "4999999999");
        const QByteArray piece = offer.getPaired("/v1/files/a.txt").response.body;
        QCOMPARE(piece.size(), 4'194'304 + 28);
    }

    void namesMayBeEscaped_data()
    {
        QTest::addColumn<std::string>("file");
        QTest::addColumn<std::string>("name");
        const auto row = [](const char* file, const char* name) {
            QTest::newRow(name) << std::string(file) << std::string(name);
        };
        row("a b.txt", "a%20b.txt");
        row("a.txt", "a.txt");
        row("a.txt", "%61%2etxt");
        row("a+b.txt", "a+b.txt");
        row("a+b.txt", "a%2Bb.txt");
        row("100%.txt", "100%25.txt");
        row("a%20b.txt", "a%2520b.txt");
        row("what?.txt", "what%3F.txt");
        row("#1.txt", "%231.txt");
        row("a\"[1].txt", "a%22%5B1%5D.txt");
        row("\u00e9.txt", "%C3%A9.txt");
        row("\u00e9.txt", "%c3%a9.txt");
        row("\u00e9.txt", "\u00e9.txt"); // not a valid URL, so all of it is the path
        row("[1].txt", "[1].txt");
        row("\U0001F600.txt", "%F0%9F%98%80.txt");
        row("..txt", "..txt");
    }

    void namesMayBeEscaped()
    {
        QFETCH(std::string, file);
        QFETCH(std::string, name);
        Offer offer;
        offer.add(2, file);
        const std::string target = "/v1/files/" + name;
        QCOMPARE(offer.opened(offer.getPaired(target), target), "0123456789"s);
    }

    void otherNamesAreNotFound_data()
    {
        QTest::addColumn<std::string>("name");
        for (const char* name : {"", "/", ".", "..", "a+b.txt", "A%20b.txt", "a%20b.tx",
                 "a%20b.txt2", "a%20b.txt/", "/a%20b.txt", "./a%20b.txt", "a%2520b.txt",
                 "a%20b.txt%00", "a%20b.txt%00.png", "%00", "%ff", "%", "%zz", "a%20b.txt%",
                 "a%20b.txt?%zz", "../secret.txt", "..%2fsecret.txt", "%2e%2e%2fsecret.txt",
                 "%2E%2E/secret.txt", "..%5csecret.txt", "..%c0%afsecret.txt", "%2e%2e%2f",
                 "../support/state.json", "/etc/passwd", "%2fetc%2fpasswd", "secret.txt",
                 "hidden.txt", "inner/inside.txt", "e%CC%81.txt", "iMessage;-;2"})
            QTest::newRow(name) << std::string(name);
    }

    void otherNamesAreNotFound()
    {
        QFETCH(std::string, name);
        Offer offer;
        offer.add(2, "a b.txt");
        offer.add(3, "\u00e9.txt");
        offer.add(4, ""); // an empty file name, which would name the folder
        offer.add(5, "hidden.txt");
        offer.state.guids.erase(ExportSetup::guid(5));
        writeFile(offer.state.folder.parent_path() / "secret.txt", "secret");
        fs::create_directory(offer.state.folder / "inner");
        writeFile(offer.state.folder / "inner/inside.txt", "inside");
        QCOMPARE(summary(offer.getPaired("/v1/files/" + name)), "404 Not Found");
        QCOMPARE(summary(offer.getPaired("/v1/files/a%20b.txt")), "200 OK");
    }

    void everyAnswerIsSealedAnew()
    {
        Offer offer;
        offer.add(2, "a.txt");
        const Answer first = offer.getPaired("/v1/files/a.txt");
        const Answer second = offer.getPaired("/v1/files/a.txt");
        QVERIFY(first.response.body.first(12) != second.response.body.first(12));
        QVERIFY(first.response.body.sliced(12) != second.response.body.sliced(12));
    }

    void theSealIsBoundToTheWholeTarget()
    {
        Offer offer;
        offer.add(2, "a.txt");
        offer.add(3, "b.txt");
        const Answer answer = offer.getPaired("/v1/files/%61.txt?offset=0");
        QVERIFY(offer.opened(answer, "/v1/files/%61.txt?offset=0"));
        QVERIFY(!offer.opened(answer, "/v1/files/a.txt?offset=0"));
        QVERIFY(!offer.opened(answer, "/v1/files/%61.txt"));
        QVERIFY(!offer.opened(answer, "/v1/files/b.txt?offset=0"));
        QVERIFY(!Offer::openedWith(Pairing::make().key, answer, "/v1/files/%61.txt?offset=0"));
    }
};

QTEST_GUILESS_MAIN(FileRouteTest)
#include "FileRouteTest.moc"
