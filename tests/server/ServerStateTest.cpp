#include "server/Offer.h"
#include "text/Base64Url.h"

#include "support/Printing.h"

#include <QtTest/QTest>

#include <algorithm>

using namespace korvane;
using namespace std::chrono_literals;

/// ServerState::issueTransfer(): issuing and expiring tickets.
class ServerStateTest : public QObject {
    Q_OBJECT

private slots:
    void aTicketIsKeptForTenMinutes()
    {
        Offer offer;
        const auto issued = offer.state.issueTransfer(offer.chat.fileName(), offer.now);
        QVERIFY(issued);
        QCOMPARE(offer.state.transferTickets.size(), 1U);
        const TransferTicket& ticket = offer.state.transferTickets.at(issued->ticket);
        QCOMPARE(ticket.fileName, offer.chat.fileName());
        QVERIFY(ticket.key == issued->key);
        QVERIFY(ticket.expiresAt == offer.now + 600s);
    }

    void aTicketIs32BytesInBase64Url()
    {
        Offer offer;
        const std::string alphabet
            = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-_";
        for (int i = 0; i < 50; ++i) {
            const auto issued = offer.state.issueTransfer(offer.chat.fileName(), offer.now);
            QVERIFY(issued);
            QCOMPARE(issued->ticket.size(), 43U);
            QVERIFY(issued->ticket.find_first_not_of(alphabet) == std::string::npos);
            QCOMPARE(fromBase64Url(issued->ticket).value_or(QByteArray()).size(), 32);
            QCOMPARE(issued->key.bytes().size(), 32);
        }
    }

    void ticketsAndKeysAreNeverTheSame()
    {
        Offer offer;
        std::set<QByteArray> drawn;
        constexpr int count = 50;
        for (int i = 0; i < count; ++i) {
            const auto issued = offer.state.issueTransfer(offer.chat.fileName(), offer.now);
            drawn.insert(fromBase64Url(issued.value().ticket).value());
            drawn.insert(issued->key.bytes());
        }
        QCOMPARE(drawn.size(), 2 * static_cast<std::size_t>(count));
        QCOMPARE(offer.state.transferTickets.size(), std::size_t{count});
    }

    void justOneChatMustBeOnOffer()
    {
        Offer offer;
        const std::string file = offer.chat.fileName();
        offer.state.guids = {};
        QVERIFY(!offer.state.issueTransfer(file, offer.now));
        offer.state.guids = {ExportSetup::guid(1), ExportSetup::guid(2)};
        QVERIFY(!offer.state.issueTransfer(file, offer.now));
        offer.state.guids = {ExportSetup::guid(2)};
        QVERIFY(!offer.state.issueTransfer(file, offer.now));
        QVERIFY(offer.state.transferTickets.empty());
        offer.state.guids = {ExportSetup::guid(1)};
        QVERIFY(offer.state.issueTransfer(file, offer.now));
    }

    void theFileMustBeOnOffer_data()
    {
        QTest::addColumn<std::string>("name");
        for (const char* name : {"", ".", "..", "other.txt", "../support/state.json", "team (1)",
                 "/etc/passwd", "Team%20(1)%20Korvane%20Wrapped.jsonl.txt"})
            QTest::newRow(name) << std::string(name);
    }

    void theFileMustBeOnOffer()
    {
        QFETCH(std::string, name);
        Offer offer;
        offer.add(2, "other.txt");
        offer.state.guids = {ExportSetup::guid(1)};
        QVERIFY(!offer.state.issueTransfer(name, offer.now));
        QVERIFY(offer.state.issueTransfer(offer.chat.fileName(), offer.now));
        std::filesystem::remove(offer.chat.setup.file(1));
        QVERIFY(!offer.state.issueTransfer(offer.chat.fileName(), offer.now));
    }

    void aFileIsAtMost64MiBLarge_data()
    {
        QTest::addColumn<std::uintmax_t>("size");
        QTest::addColumn<bool>("isIssued");
        QTest::newRow("empty") << std::uintmax_t{0} << true;
        QTest::newRow("64 MiB") << std::uintmax_t{67'108'864} << true;
        QTest::newRow("a byte more") << std::uintmax_t{67'108'865} << false;
        QTest::newRow("more than 32 bits count") << std::uintmax_t{4'294'967'297} << false;
    }

    void aFileIsAtMost64MiBLarge()
    {
        QFETCH(std::uintmax_t, size);
        QFETCH(bool, isIssued);
        Offer offer;
        std::filesystem::resize_file(offer.chat.setup.file(1), size);
        const auto issued = offer.state.issueTransfer(offer.chat.fileName(), offer.now);
        QCOMPARE(issued.has_value(), isIssued);
        QCOMPARE(offer.state.transferTickets.size(), isIssued ? 1U : 0U);
    }

    void expiredTicketsAreDroppedWithTheNextIssue()
    {
        Offer offer;
        const std::string file = offer.chat.fileName();
        const auto first = offer.state.issueTransfer(file, offer.now);
        const auto second = offer.state.issueTransfer(file, offer.now + 1s);
        QCOMPARE(offer.state.transferTickets.size(), 2U);
        offer.now += 600s;
        const auto third = offer.state.issueTransfer(file, offer.now);
        QVERIFY(third);
        QCOMPARE(offer.state.transferTickets.size(), 2U);
        QVERIFY(!offer.state.transferTickets.contains(first->ticket)); // expires exactly now
        QVERIFY(offer.state.transferTickets.contains(second->ticket)); // one second left
        QVERIFY(offer.state.transferTickets.contains(third->ticket));
    }

    void whereNoneIsIssuedNoneIsDropped()
    {
        Offer offer;
        QVERIFY(offer.state.issueTransfer(offer.chat.fileName(), offer.now));
        const auto tickets = offer.state.transferTickets;
        QVERIFY(!offer.state.issueTransfer("other.txt", offer.now + 1h));
        offer.state.guids = {};
        QVERIFY(!offer.state.issueTransfer(offer.chat.fileName(), offer.now + 1h));
        QVERIFY(offer.state.transferTickets == tickets);
        offer.get("/v1/transfer/" + tickets.begin()->first);
        QVERIFY(offer.state.transferTickets == tickets);
    }

    void theChatMayHaveSeveralTickets()
    {
        Offer offer;
        for (int i = 0; i < 3; ++i) {
            const auto issued = offer.state.issueTransfer(offer.chat.fileName(), offer.now);
            QVERIFY(issued);
        }
        for (const auto& [ticket, transfer] : offer.state.transferTickets) {
            const std::string target = "/v1/transfer/" + ticket;
            const Answer answer = offer.get(target);
            QCOMPARE(Offer::openedWith(transfer.key, answer, target), offer.chat.contents());
        }
        QCOMPARE(offer.state.transferTickets.size(), 3U);
    }

    void aNewStateOffersNothing()
    {
        const ServerState state{.support = SupportFolder("/"), .pairing = Pairing::make()};
        QVERIFY(state.guids.empty());
        QVERIFY(state.folder == "/");
        QVERIFY(state.transferTickets.empty());
    }
};

QTEST_GUILESS_MAIN(ServerStateTest)
#include "ServerStateTest.moc"
