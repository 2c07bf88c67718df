#include "export/KeptText.h"
#include "support/Printing.h"

#include <QtTest/QTest>

using namespace korvane;

/// What the user is told about files that went to Kept/ and stay there.
class KeptTextTest : public QObject {
    Q_OBJECT

private slots:
    void numberHasCommas_data()
    {
        QTest::addColumn<std::int64_t>("count");
        QTest::addColumn<std::string>("text");
        const auto row = [](std::int64_t count, const char* text) {
            QTest::newRow(text) << count << std::string(text);
        };
        row(0, "0 messages");
        row(1, "1 message");
        row(2, "2 messages");
        row(999, "999 messages");
        row(1'000, "1,000 messages");
        row(1'124, "1,124 messages");
        row(123'456, "123,456 messages");
        row(1'000'001, "1,000,001 messages");
    }

    void numberHasCommas()
    {
        QFETCH(const std::int64_t, count);
        QFETCH(const std::string, text);
        QCOMPARE(countOf(count, "message"), text);
    }

    void fileIsNamed()
    {
        QCOMPARE(textOf(KeptFile{"Ann Lee", 1'124, "Kept/Ann Lee (1) E.jsonl.txt"}),
            std::string("Kept 1,124 messages of Ann Lee that Messages no longer has: Kept/Ann Lee "
                        "(1) E.jsonl.txt"));
    }

    void oneFileOfARunIsNamedAndSeveralAreCounted()
    {
        const KeptFile ann{"Ann", 1, "Kept/Ann"};
        QCOMPARE(textOf(std::vector{ann}),
            std::string("Kept 1 message of Ann that Messages no longer has: Kept/Ann"));
        QCOMPARE(textOf(std::vector{ann, KeptFile{"Bo", 1'999, "Kept/Bo"}}),
            std::string("Kept 2,000 messages that Messages no longer has: 2 files in Kept"));
    }
};

QTEST_GUILESS_MAIN(KeptTextTest)
#include "KeptTextTest.moc"
