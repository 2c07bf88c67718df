#include "CannedServer.h"
#include "OfferedChat.h"
#include "RunningTransfer.h"

#include "support/Printing.h"

#include <QJsonObject>
#include <QtTest/QTest>

using namespace korvane;

/// What an eavesdropper on the network sees.
class WireTest : public QObject {
    Q_OBJECT

private slots:
    void onlyTheTicketPassesInTheClear()
    {
        const Recipient recipient;
        const Owner owner;
        RunningTransfer running(owner.words());
        QVERIFY(running.isReady());
        const TransferLink link = running.link();
        QByteArray seen;
        const CannedServer onTheWay([&seen, &link](QTcpSocket& peer, const QByteArray& head) {
            const Client other(link.port);
            other.send(head.toStdString());
            const QByteArray answer = other.readAll().value_or(QByteArray());
            seen += head + answer;
            CannedServer::send(peer, answer);
        });
        TransferLink led = link;
        led.port = onTheWay.port();
        const Outcome outcome = recipient.receive(led);
        QCOMPARE(outcome.err, std::string());
        QCOMPARE(contentsOf("Korvane-History.txt"), readFile(owner.file()));
        QVERIFY(!tellsSecrets(outcome, link));

        QCOMPARE(seen.count(QByteArray::fromStdString(link.ticket)), 1);
        seen.replace(QByteArray::fromStdString(link.ticket), "");
        QVERIFY(!tellsSecrets(seen.toStdString(), link));
        const auto pairing = QJsonDocument::fromJson(
            QByteArray::fromStdString(contentsOf(owner.terminal.support() + "/pairing.json")))
                                 .object();
        const QByteArray token = pairing[u"token"].toString().toUtf8();
        const QByteArray key = pairing[u"key"].toString().toUtf8();
        QCOMPARE(token.size(), 22);
        QCOMPARE(key.size(), 44);
        for (const QByteArray& secret :
            {token, key, QByteArray::fromBase64(key), QByteArray("Team"), QByteArray("chat1"),
                QByteArray("first words"), QByteArray("second thoughts"), QByteArray("last say"),
                QByteArray("Korvane Wrapped")})
            QVERIFY2(!seen.contains(secret), secret.constData());
    }

    void requestSaysNothingOfTheMachineThatAsks()
    {
        const Recipient recipient;
        const CannedServer server(CannedServer::ok(""));
        const TransferLink link = linkTo(server.port());
        recipient.receive(link);
        QCOMPARE(server.heads().size(), std::size_t{1});
        const QByteArray head = server.heads()[0].toLower();
        QVERIFY(!head.contains("cookie"));
        QVERIFY(!head.contains("authorization"));
        QVERIFY(head.contains("accept-language: *\r\n")); // not the user's language
        QVERIFY(head.contains("user-agent: korvane-sync\r\n")); // names no system
    }
};

QTEST_GUILESS_MAIN(WireTest)
#include "WireTest.moc"
