#include "server/RunningServer.h"

#include "support/OnlyDescriptors.h"
#include "support/Printing.h"

#include <QtTest/QTest>

#include <sys/resource.h>

#include <thread>

using namespace korvane;
using namespace std::chrono_literals;

/// The server where the process has no descriptors to spare.
class DescriptorsTest : public QObject {
    Q_OBJECT

    /// What this process has computed so far.
    static std::chrono::microseconds processorTime()
    {
        rusage usage{};
        ::getrusage(RUSAGE_SELF, &usage);
        const auto total = [](const timeval& time) {
            return std::chrono::seconds(time.tv_sec) + std::chrono::microseconds(time.tv_usec);
        };
        return total(usage.ru_utime) + total(usage.ru_stime);
    }

private slots:
    void noneForAConnectionIsWaitedFor()
    {
        const ExportSetup setup;
        const RunningServer running;
        for (int round = 0; round < 3; ++round) {
            std::optional<Client> waiting;
            {
                const OnlyDescriptors one(1);
                QVERIFY(one.works());
                waiting.emplace(running.port()); // takes it: there is none for the other end
                QVERIFY(waiting->send("GET / HTTP/1.1\r\n\r\n"));
                const auto before = processorTime();
                QVERIFY(!waiting->isClosedWithin(500ms)); // no answer, either
                const auto spent = processorTime() - before;
                QVERIFY2(spent < 100ms, std::to_string(spent.count()).c_str());
            }
            const auto answer = waiting->readAll();
            QCOMPARE(taken(answer.value_or(QByteArray())).status, 401);
            QCOMPARE(get(running.port(), "/").status, 401);
        }
    }

    void thoseConnectedAlreadyAreAnsweredMeanwhile()
    {
        const ExportSetup setup;
        const RunningServer running;
        const Client connected(running.port());
        QCOMPARE(get(running.port(), "/").status, 401); // so the one before is accepted
        const OnlyDescriptors one(1);
        const Client waiting(running.port());
        QVERIFY(connected.send("GET / HTTP/1.1\r\n\r\n"));
        QCOMPARE(taken(connected.readAll().value_or(QByteArray())).status, 401);
    }

    void noneForTheFileIsAnError()
    {
        const ExportedChat chat;
        RunningServer running;
        chat.offer(running.server());
        const std::string file = chat.fileName();
        const std::string head = headFor(running.targetFor(file));
        const Client early(running.port());
        QCOMPARE(get(running.port(), "/").status, 401);
        {
            const OnlyDescriptors none(0);
            QVERIFY(none.works());
            QVERIFY(early.send(head));
            const int status = taken(early.readAll().value_or(QByteArray())).status;
            QVERIFY2(status == 404 || status == 500, std::to_string(status).c_str());
            QVERIFY(!running.server().issueTransfer(file));
        }
        QCOMPARE(ask(running.port(), head).status, 200);
        QVERIFY(running.server().issueTransfer(file));
    }
};

QTEST_GUILESS_MAIN(DescriptorsTest)
#include "DescriptorsTest.moc"
