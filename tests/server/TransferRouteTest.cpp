#include "server/Offer.h"

#include "support/Printing.h"

#include <QtTest/QTest>

using namespace korvane;
using namespace std::chrono_literals;
using namespace std::string_literals;

namespace fs = std::filesystem;

/// The route "/v1/transfer/<ticket>": fetching a file with a ticket.
class TransferRouteTest : public QObject {
    Q_OBJECT

private slots:
    void init()
    {
        m_offer = std::make_unique<Offer>();
        m_ticket
            = m_offer->state.issueTransfer(m_offer->chat.fileName(), m_offer->now).value().ticket;
    }

    void cleanup() { m_offer.reset(); }

    void hasTheHeadersOfADownload()
    {
        const Answer answer = m_offer->get(target());
        QCOMPARE(summary(answer), "200 OK");
        QVERIFY(answer.kind == Answer::Kind::Transfer);
        QVERIFY(headersOf(answer)
            == (std::map<std::string, std::string>{{"Content-Type", "application/octet-stream"},
                {"Content-Disposition", "attachment; filename=\"Korvane-History.txt\""}}));
        QCOMPARE(opened(answer, target()), m_offer->chat.contents());
    }

    void expiresToTheSecond_data()
    {
        using Clock = TransferTicket::Clock;
        QTest::addColumn<Clock::duration>("after");
        QTest::addColumn<std::string>("outcome");
        const auto row = [](const char* name, Clock::duration after, const std::string& outcome) {
            QTest::newRow(name) << after << outcome;
        };
        row("at once", 0s, "200 OK");
        row("599 seconds", 599s, "200 OK");
        row("a moment before 600 seconds", 600s - Clock::duration(1), "200 OK");
        row("600 seconds", 600s, "410 Transfer Expired");
        row("601 seconds", 601s, "410 Transfer Expired");
        row("a year", 8766h, "410 Transfer Expired");
        row("the clock set back", -1h, "200 OK");
    }

    void expiresToTheSecond()
    {
        QFETCH(TransferTicket::Clock::duration, after);
        QFETCH(std::string, outcome);
        m_offer->now += after;
        QCOMPARE(summary(m_offer->get(target())), outcome);
    }

    void ticketsAreTakenAsTheyAre_data()
    {
        QTest::addColumn<std::string>("path"); // "T" is the ticket's text
        QTest::addColumn<std::string>("outcome");
        for (const char* path : {"T", "T?x=1", "T?", "T?x=/y", "T#x"})
            QTest::newRow(path) << std::string(path) << "200 OK"s;
        for (const char* path : {"", "/", "a/b", "T/", "/T", "T/T", "?T", "#T", "%zz/T", "T%?x/y"})
            QTest::newRow(path) << std::string(path) << "404 Not Found"s;
        for (const char* path : {"unknown", "t", "TT", "%54", "%T", "T%", "T%20", "T%00", "T%2F",
                 "%2FT", "T&", "T=", "T?%zz", "..", "%2e%2e", "\u00e9"})
            QTest::newRow(path) << std::string(path) << "410 Transfer Expired"s;
    }

    void ticketsAreTakenAsTheyAre()
    {
        QFETCH(std::string, path);
        QFETCH(std::string, outcome);
        auto& tickets = m_offer->state.transferTickets;
        tickets.insert({"T", tickets.at(m_ticket)});
        tickets.insert({"", tickets.at(m_ticket)}); // the route never matches these two
        tickets.insert({"a/b", tickets.at(m_ticket)});
        QCOMPARE(summary(m_offer->get("/v1/transfer/" + path)), outcome);
    }

    void theTokenDoesNotMatter()
    {
        QCOMPARE(summary(m_offer->getPaired(target())), "200 OK");
        QCOMPARE(summary(m_offer->get(target(), "Authorization: Bearer x\r\n")), "200 OK");
        QCOMPARE(summary(m_offer->getPaired("/v1/transfer/unknown")), "410 Transfer Expired");
        QCOMPARE(summary(m_offer->getPaired("/v1/transfer/")), "404 Not Found");
        QCOMPARE(summary(m_offer->get("/v1/transfer")), "401 Unauthorized");
        QCOMPARE(summary(m_offer->get("/v1/manifest?" + m_ticket)), "401 Unauthorized");
    }

    void theSealIsBoundToTheWholeTarget()
    {
        const Answer plain = m_offer->get(target());
        QVERIFY(!opened(plain, target("?x=1")));
        QVERIFY(!opened(plain, m_ticket));
        const Answer withQuery = m_offer->get(target("?x=1"));
        QCOMPARE(opened(withQuery, target("?x=1")), m_offer->chat.contents());
        QVERIFY(!opened(withQuery, target()));
    }

    void theSealIsBoundToTheTicketsKey()
    {
        const auto other = m_offer->state.issueTransfer(m_offer->chat.fileName(), m_offer->now);
        QVERIFY(other);
        const Answer answer = m_offer->get(target());
        QVERIFY(opened(answer, target()));
        QVERIFY(!Offer::openedWith(other->key, answer, target()));
        QVERIFY(!m_offer->opened(answer, target())); // nor does the pairing's key open it
    }

    void fetchingTwiceGivesTwoBodies()
    {
        const Answer first = m_offer->get(target());
        const Answer second = m_offer->get(target());
        QVERIFY(first.response.body.first(12) != second.response.body.first(12));
        QVERIFY(first.response.body.sliced(12) != second.response.body.sliced(12));
        QCOMPARE(opened(first, target()), m_offer->chat.contents());
        QCOMPARE(opened(second, target()), m_offer->chat.contents());
    }

    void whatIsOnOfferNowCounts()
    {
        m_offer->add(2, "b.txt");
        QCOMPARE(summary(m_offer->get(target())), "200 OK"); // two chats on offer, including this
        m_offer->state.guids = {ExportSetup::guid(2)};
        QCOMPARE(summary(m_offer->get(target())), "404 Not Found");
        m_offer->state.guids = {};
        QCOMPARE(summary(m_offer->get(target())), "404 Not Found");
        m_offer->state.guids = {ExportSetup::guid(1)};
        QCOMPARE(summary(m_offer->get(target())), "200 OK");
        m_offer->state.folder = "/";
        QCOMPARE(summary(m_offer->get(target())), "404 Not Found");
        m_offer->now += 600s;
        QCOMPARE(
            summary(m_offer->get(target())), "410 Transfer Expired"); // tickets are checked first
    }

    void aFileIsServedUpTo64MiB()
    {
        constexpr std::size_t most = 67'108'864;
        const fs::path file = m_offer->chat.setup.file(1);
        const std::string start = m_offer->chat.contents();
        fs::resize_file(file, most);
        const Answer answer = m_offer->get(target());
        QCOMPARE(summary(answer), "200 OK");
        const auto text = opened(answer, target());
        QVERIFY(text);
        QCOMPARE(text->size(), most);
        QVERIFY(text->starts_with(start));
        QVERIFY(text->find_first_not_of('\0', start.size()) == text->npos);
        fs::resize_file(file, most + 1);
        QCOMPARE(summary(m_offer->get(target())), "404 Not Found");
    }

private:
    std::string target(const std::string& rest = "") const
    {
        return "/v1/transfer/" + m_ticket + rest;
    }
    std::optional<std::string> opened(const Answer& answer, const std::string& target) const
    {
        return Offer::openedWith(m_offer->state.transferTickets.at(m_ticket).key, answer, target);
    }

    std::unique_ptr<Offer> m_offer;
    std::string m_ticket;
};

QTEST_GUILESS_MAIN(TransferRouteTest)
#include "TransferRouteTest.moc"
