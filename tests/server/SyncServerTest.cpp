#include "server/RunningServer.h"

#include "support/Printing.h"
#include "support/SealedByOthers.h"

#include <QtTest/QTest>

using namespace korvane;

class SyncServerTest : public QObject {
    Q_OBJECT

private slots:
    void ticketFetchesTheFileSealedWithItsKey()
    {
        const ExportedChat chat;
        RunningServer running;
        chat.offer(running.server());
        const auto issued = running.server().issueTransfer(chat.fileName());
        QVERIFY(issued);
        const std::string target = "/v1/transfer/" + issued->ticket;
        const Response response = get(running.port(), target);
        QCOMPARE(response.status, 200);
        const auto text = SealedByOthers::open(issued->key.bytes(), response.body, target);
        QVERIFY(text);
        QCOMPARE(text->toStdString(), chat.contents());
    }
};

QTEST_GUILESS_MAIN(SyncServerTest)
#include "SyncServerTest.moc"
