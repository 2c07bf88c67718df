#include "messages/MessageTypes.h"

#include <QtTest/QTest>

#include <limits>
#include <stdexcept>

namespace korvane {

/// A stored date: seconds since 2001 in old databases, nanoseconds in newer ones.
class TimestampTest : public QObject {
    Q_OBJECT

private slots:
    void tellsSecondsFromNanoseconds_data()
    {
        QTest::addColumn<qint64>("stored");
        QTest::addColumn<double>("seconds");

        QTest::newRow("the reference date") << qint64(0) << 0.0;
        QTest::newRow("one second") << qint64(1) << 1.0;
        QTest::newRow("a second before 2001") << qint64(-1) << -1.0;
        QTest::newRow("seconds of our days") << qint64(700'000'000) << 700'000'000.0;
        QTest::newRow("nanoseconds of our days")
            << qint64(700'000'000'000'000'000) << 700'000'000.0;
        QTest::newRow("nanoseconds with a fraction")
            << qint64(700'000'000'123'456'789) << 700'000'000'123'456'789.0 / 1e9;
        QTest::newRow("the most seconds") << qint64(100'000'000'000) << 100'000'000'000.0;
        QTest::newRow("the fewest nanoseconds") << qint64(100'000'000'001) << 100.000000001;
        QTest::newRow("the most seconds before 2001")
            << qint64(-100'000'000'000) << -100'000'000'000.0;
        QTest::newRow("the fewest nanoseconds before 2001")
            << qint64(-100'000'000'001) << -100.000000001;
        QTest::newRow("nanoseconds before 2001") << qint64(-200'000'000'000) << -200.0;
        QTest::newRow("the largest date")
            << std::numeric_limits<qint64>::max() << 9223372036.854775807;
        QTest::newRow("the smallest date that has an absolute value")
            << -std::numeric_limits<qint64>::max() << -9223372036.854775807;
    }

    void tellsSecondsFromNanoseconds()
    {
        QFETCH(qint64, stored);
        QFETCH(double, seconds);
        QVERIFY2(referenceTime(stored).count() == seconds, // QCOMPARE on doubles is fuzzy
            qPrintable(QString::number(referenceTime(stored).count(), 'g', 17)));
    }

    void mostNegativeDateEndsTheProgram()
    {
        QVERIFY_THROWS_EXCEPTION(
            std::overflow_error, referenceTime(std::numeric_limits<std::int64_t>::min()));
    }

    void referenceDateIsTheFirstSecondOf2001()
    {
        const QDateTime reference = QDateTime::fromSecsSinceEpoch(referenceDateUnixSeconds).toUTC();
        QCOMPARE(reference.toString(Qt::ISODate), QStringLiteral("2001-01-01T00:00:00Z"));
    }
};

} // namespace korvane

QTEST_APPLESS_MAIN(korvane::TimestampTest)
#include "TimestampTest.moc"
