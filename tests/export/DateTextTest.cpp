#include "export/DateText.h"
#include "export/Rerun.h"
#include "support/Printing.h"

#include <cmath>
#include <cstdio>
#include <limits>

using namespace std::string_literals;

namespace korvane {

/// Formatting dates in UTC, independent of the machine's time zone.
class DateTextTest : public QObject {
    Q_OBJECT

private slots:
    void writesStoredDates_data()
    {
        QTest::addColumn<qint64>("stored");
        QTest::addColumn<std::string>("text");
        const auto row = [](const char* name, qint64 stored, const std::string& text) {
            QTest::newRow(name) << stored << text;
        };
        row("no date", 0, "2001-01-01T00:00:00.000Z");
        row("seconds", 700'000'000, "2023-03-08T20:26:40.000Z");
        row("nanoseconds", 700'000'000'000'000'000, "2023-03-08T20:26:40.000Z");
        row("half a second", 725'756'400'500'000'000, "2023-12-31T23:00:00.500Z");
        row("the last moment of a year", 725'759'999'999'000'000, "2023-12-31T23:59:59.999Z");
        row("a leap day", 730'900'800, "2024-02-29T12:00:00.000Z");
        row("the largest number of seconds", 100'000'000'000, "5169-11-16T09:46:40.000Z");
        row("the smallest number of nanoseconds", 100'000'000'001, "2001-01-01T00:01:40.000Z");
        row("one second before the reference date", -1, "2000-12-31T23:59:59.000Z");
        row("the Unix epoch", -978'307'200, "1970-01-01T00:00:00.000Z");
        row("a second before the Unix epoch", -978'307'201, "1969-12-31T23:59:59.000Z");
        row("negative nanoseconds", -200'000'000'000, "2000-12-31T23:56:40.000Z");
        row("1900 was no leap year", -3'182'198'400, "1900-03-01T00:00:00.000Z");
        row("2000 was one", -26'524'800, "2000-02-29T00:00:00.000Z");
        row("the largest number of nanoseconds", std::numeric_limits<qint64>::max(),
            "2293-04-11T23:47:16.855Z");
        row("almost the smallest", std::numeric_limits<qint64>::min() + 1,
            "1708-09-22T00:12:43.145Z");
        row("the year 1", -63'113'904'000, "0001-01-01T00:00:00.000Z");
        row("the year 0", -63'113'904'001, "0000-12-31T23:59:59.000Z");
        row("a year before 0", -63'145'526'401, "-0001-12-31T23:59:59.000Z");
        row("the most negative number of seconds", -100'000'000'000, "-1168-02-16T14:13:20.000Z");
    }

    void writesStoredDates()
    {
        QFETCH(qint64, stored);
        QFETCH(std::string, text);
        QCOMPARE(DateText().withMilliseconds(referenceTime(stored)), std::string_view(text));
    }

    void roundsToTheNearestMillisecond_data()
    {
        QTest::addColumn<double>("seconds");
        QTest::addColumn<std::string>("text");
        const auto row = [](const char* name, double seconds, const std::string& text) {
            QTest::newRow(name) << seconds << text;
        };
        row("down", 0.0014, "2001-01-01T00:00:00.001Z");
        row("up", 0.0016, "2001-01-01T00:00:00.002Z");
        row("a half goes up", 0.0625, "2001-01-01T00:00:00.063Z");
        row("a half before the reference date as well", -0.0625, "2000-12-31T23:59:59.938Z");
        row("to the next second", 0.9996, "2001-01-01T00:00:01.000Z");
        row("not yet to the next second", 0.9994, "2001-01-01T00:00:00.999Z");
        row("to the next minute", 59.9996, "2001-01-01T00:01:00.000Z");
        row("to the next hour", 3599.9996, "2001-01-01T01:00:00.000Z");
        row("to the next day", 86399.9996, "2001-01-02T00:00:00.000Z");
        row("to the leap day", 730'943'999.9996 - 86400, "2024-02-29T00:00:00.000Z");
        row("to the next year", 725'759'999.9996, "2024-01-01T00:00:00.000Z");
        row("to the reference date", -0.0004, "2001-01-01T00:00:00.000Z");
        row("before the reference date", -0.0006, "2000-12-31T23:59:59.999Z");
        row("before the reference date by half a second", -0.5, "2000-12-31T23:59:59.500Z");
        row("a fraction that no double holds", 700'000'000.123, "2023-03-08T20:26:40.123Z");
        row("nanoseconds close to a half", 700'000'000.000499, "2023-03-08T20:26:40.000Z");
        row("nanoseconds over a half", 700'000'000.000501, "2023-03-08T20:26:40.001Z");
    }

    void roundsToTheNearestMillisecond()
    {
        QFETCH(double, seconds);
        QFETCH(std::string, text);
        QCOMPARE(DateText().withMilliseconds(ReferenceTime(seconds)), std::string_view(text));
    }

    /// Computes the expected dates with its own implementation of the Gregorian calendar.
    void everyDayOf400YearsFollowsTheOneBefore()
    {
        DateText dates;
        int year = 1970;
        int month = 1;
        int day = 1;
        for (std::int64_t count = 0; year < 2370; ++count) {
            char expected[64];
            std::snprintf(
                expected, sizeof expected, "%04d-%02d-%02dT12:34:56.789Z", year, month, day);
            const double seconds = static_cast<double>(count * 86400 - referenceDateUnixSeconds);
            const auto text = dates.withMilliseconds(ReferenceTime(seconds + 45296.789));
            if (text != expected)
                QCOMPARE(text, std::string_view(expected));
            const bool leap = year % 4 == 0 && (year % 100 != 0 || year % 400 == 0);
            const int february = leap ? 29 : 28;
            const int lengths[] = {31, february, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
            if (++day > lengths[month - 1]) {
                day = 1;
                month = month % 12 + 1;
                year += month == 1 ? 1 : 0;
            }
        }
    }

    void remembersNoDayTooLong()
    {
        DateText dates;
        const auto text = [&dates](double seconds) {
            return std::string(dates.withMilliseconds(ReferenceTime(seconds)));
        };
        QCOMPARE(text(0), "2001-01-01T00:00:00.000Z"s);
        QCOMPARE(text(86399.25), "2001-01-01T23:59:59.250Z"s);
        QCOMPARE(text(86400), "2001-01-02T00:00:00.000Z"s);
        QCOMPARE(text(1), "2001-01-01T00:00:01.000Z"s);
        QCOMPARE(text(-63'145'526'401), "-0001-12-31T23:59:59.000Z"s);
        QCOMPARE(text(-1), "2000-12-31T23:59:59.000Z"s);
    }

    void dropsTheFractionOfWholeSeconds_data()
    {
        QTest::addColumn<qint64>("unixSeconds");
        QTest::addColumn<std::string>("text");
        QTest::newRow("our days") << qint64{1'714'979'289} << "2024-05-06T07:08:09Z"s;
        QTest::newRow("the epoch") << qint64{0} << "1970-01-01T00:00:00Z"s;
        QTest::newRow("before it") << qint64{-1} << "1969-12-31T23:59:59Z"s;
        QTest::newRow("the end of 32 bits") << qint64{2'147'483'648} << "2038-01-19T03:14:08Z"s;
        QTest::newRow("the last of four digits")
            << qint64{253'402'300'799} << "9999-12-31T23:59:59Z"s;
        QTest::newRow("the first of four digits")
            << qint64{-62'167'219'200} << "0000-01-01T00:00:00Z"s;
    }

    void dropsTheFractionOfWholeSeconds()
    {
        QFETCH(qint64, unixSeconds);
        QFETCH(std::string, text);
        const std::chrono::sys_seconds time{std::chrono::seconds(unixSeconds)};
        QCOMPARE(DateText::wholeSeconds(time), std::optional(text));
    }

    void writesNoYearThatFourDigitsDoNotHold_data()
    {
        QTest::addColumn<qint64>("unixSeconds");
        QTest::newRow("the year 10000") << qint64{253'402'300'800};
        QTest::newRow("the year -1") << qint64{-62'167'219'201};
        QTest::newRow("beyond 16 bits of years") << qint64{1'100'000'000'000};
        QTest::newRow("the last day of 32 bits of days") << qint64{185'542'587'187'199};
        QTest::newRow("the last second") << std::numeric_limits<qint64>::max();
        QTest::newRow("the first second") << std::numeric_limits<qint64>::min();
    }

    void writesNoYearThatFourDigitsDoNotHold()
    {
        QFETCH(qint64, unixSeconds);
        const std::chrono::sys_seconds time{std::chrono::seconds(unixSeconds)};
        QCOMPARE(DateText::wholeSeconds(time), std::optional<std::string>());
    }

    void theTimeZoneDoesNotMatter_data()
    {
        QTest::addColumn<QByteArray>("zone");
        for (const char* zone : {"XST-14", "YST+12", "CET-1CEST,M3.5.0,M10.5.0/3", "Asia/Kolkata"})
            QTest::newRow(zone) << QByteArray(zone);
    }

    void theTimeZoneDoesNotMatter()
    {
        QFETCH(QByteArray, zone);
        const auto failure
            = rerun({"writesStoredDates", "dropsTheFractionOfWholeSeconds"}, {{"TZ", zone}});
        QVERIFY2(failure.isEmpty(), failure);
    }

    void readsWhatItWrites_data() { writesStoredDates_data(); }

    void readsWhatItWrites()
    {
        QFETCH(qint64, stored);
        QFETCH(std::string, text);
        const auto read = DateText::read(text);
        QCOMPARE(read.has_value(), text.size() == 24); // a year before 0 has a sign
        if (read)
            QVERIFY(std::abs((*read - referenceTime(stored)).count()) < 0.001);
    }

    void readsNoOtherText_data()
    {
        QTest::addColumn<std::string>("text");
        QTest::newRow("empty") << ""s;
        QTest::newRow("no milliseconds") << "2023-03-08T20:26:40Z"s;
        QTest::newRow("another zone") << "2023-03-08T20:26:40.000+"s;
        QTest::newRow("a letter among the digits") << "2023-03-08T20:2x:40.000Z"s;
        QTest::newRow("a sign among the digits") << "2023-03-08T20:26:-1.000Z"s;
        QTest::newRow("no such day") << "2023-02-29T20:26:40.000Z"s;
        QTest::newRow("no such month") << "2023-13-01T20:26:40.000Z"s;
        QTest::newRow("more after it") << "2023-03-08T20:26:40.000Z "s;
    }

    void readsNoOtherText()
    {
        QFETCH(std::string, text);
        QVERIFY(!DateText::read(text));
    }
};

} // namespace korvane

QTEST_GUILESS_MAIN(korvane::DateTextTest)
#include "DateTextTest.moc"
