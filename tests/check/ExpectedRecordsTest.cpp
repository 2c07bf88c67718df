#include "check/ExpectedRecords.h"

#include <QtTest/QTest>

using namespace korvane;

/// Finding the records of the database by their lines and row ids.
class ExpectedRecordsTest : public QObject {
    Q_OBJECT

private slots:
    void linesAreFoundInAnyOrder_data()
    {
        QTest::addColumn<std::vector<std::size_t>>("order");
        QTest::newRow("in order") << std::vector<std::size_t>{0, 1, 2, 3};
        QTest::newRow("backwards") << std::vector<std::size_t>{3, 2, 1, 0};
        QTest::newRow("two batches") << std::vector<std::size_t>{1, 3, 0, 2};
        QTest::newRow("all twice") << std::vector<std::size_t>{0, 1, 2, 3, 0, 1, 2, 3};
    }

    void linesAreFoundInAnyOrder()
    {
        QFETCH(std::vector<std::size_t>, order);
        ExpectedRecords records = some({"a", "b", "c", "d"});
        for (const std::size_t index : order)
            QCOMPARE(records.withLine(std::string(1, static_cast<char>('a' + index))), index);
    }

    void anotherLineIsNotFound()
    {
        ExpectedRecords records = some({"a", "b"});
        QVERIFY(!records.withLine("c"));
        QVERIFY(!records.withLine(""));
        QCOMPARE(records.withLine("a"), std::size_t{0});
    }

    void nothingIsFoundWhereNothingIs()
    {
        ExpectedRecords records;
        QVERIFY(!records.withLine("a"));
        QVERIFY(!records.withRowID(1));
    }

    void rowIDsAreFoundInAnyOrderToo()
    {
        ExpectedRecords records;
        for (const std::int64_t rowID : {30, -7, 20})
            records.add(rowID, "x");
        QCOMPARE(records.withRowID(20), std::size_t{2});
        QCOMPARE(records.withRowID(-7), std::size_t{1});
        QCOMPARE(records.withRowID(30), std::size_t{0});
        QVERIFY(!records.withRowID(7));
        QVERIFY(!records.withRowID(31));
    }

    void recordIsTakenOnce()
    {
        ExpectedRecords records = some({"a", "b"});
        QVERIFY(records.take(1));
        QVERIFY(!records.take(1));
        QVERIFY(records.isTaken(1));
        QVERIFY(!records.isTaken(0));
    }

    void recordThatTheDatabaseHasTwiceIsExpectedTwice()
    {
        ExpectedRecords records = some({"a", "b", "b"});
        QVERIFY(records.take(records.withLine("b").value()));
        QVERIFY(records.take(records.withLine("b").value()));
        QVERIFY(!records.take(records.withLine("b").value()));
        QVERIFY(!records.isTaken(0));

        ExpectedRecords apart = some({"b", "a", "b"});
        QVERIFY(apart.take(apart.withLine("b").value()));
        QVERIFY(apart.take(apart.withLine("b").value()));

        ExpectedRecords sameID;
        sameID.add(7, "a");
        sameID.add(7, "b");
        QVERIFY(sameID.take(sameID.withRowID(7).value()));
        QVERIFY(sameID.take(sameID.withRowID(7).value()));
        QVERIFY(!sameID.take(sameID.withRowID(7).value()));
    }

private:
    static ExpectedRecords some(const std::vector<std::string>& lines)
    {
        ExpectedRecords records;
        for (const std::string& line : lines)
            records.add(static_cast<std::int64_t>(records.size()), line);
        return records;
    }
};

QTEST_GUILESS_MAIN(ExpectedRecordsTest)
#include "ExpectedRecordsTest.moc"
