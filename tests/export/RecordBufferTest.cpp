#include "export/RecordWriter.h"
#include "support/Printing.h"

namespace korvane {

namespace {

std::string contents(const RecordBuffer& buffer)
{
    std::string all;
    for (const std::string_view piece : buffer.pieces())
        all += piece;
    return all;
}

} // namespace

/// The buffer that holds a batch in blocks.
class RecordBufferTest : public QObject {
    Q_OBJECT

private slots:
    void isEmptyAtFirst()
    {
        const RecordBuffer buffer;
        QVERIFY(buffer.pieces().empty());
    }

    void keepsBytesInOrder_data()
    {
        QTest::addColumn<int>("size");
        QTest::addColumn<int>("count");
        QTest::newRow("many small ones") << 100 << 50'000;
        QTest::newRow("exactly a block each") << (1 << 20) << 4;
        QTest::newRow("a byte more than a block") << (1 << 20) + 1 << 4;
        QTest::newRow("much more than a block") << 5'000'000 << 3;
        QTest::newRow("two of them fill a block") << (1 << 19) << 5;
    }

    void keepsBytesInOrder()
    {
        QFETCH(int, size);
        QFETCH(int, count);
        RecordBuffer buffer;
        std::string expected;
        for (int i = 0; i < count; ++i) {
            const std::string bytes(
                static_cast<std::size_t>(size), static_cast<char>('a' + i % 26));
            buffer.block() += bytes;
            expected += bytes;
        }
        QVERIFY(contents(buffer) == expected);
    }

    void nothingAppendedIsNothingWritten()
    {
        RecordBuffer buffer;
        std::string expected;
        for (const char* text : {"one ", "", "two ", "three"}) {
            buffer.block() += text;
            expected += text;
        }
        QCOMPARE(contents(buffer), expected);
    }
};

} // namespace korvane

QTEST_APPLESS_MAIN(korvane::RecordBufferTest)
#include "RecordBufferTest.moc"
