#include "export/RecordBuffer.h"
#include "support/Printing.h"

#include <algorithm>
#include <cstring>

namespace korvane {

/// The bytes of a batch in blocks.
class RecordBufferTest : public QObject {
    Q_OBJECT

private slots:
    void isEmptyAtFirst();
    void keepsBytesInOrder_data();
    void keepsBytesInOrder();
    void roomThatWasNotUsedIsNotWritten();
    void clearingEmptiesIt();
};

namespace {

std::string contents(const RecordBuffer& buffer)
{
    std::string all;
    for (const std::string_view piece : buffer.pieces())
        all += piece;
    return all;
}

} // namespace

void RecordBufferTest::isEmptyAtFirst()
{
    const RecordBuffer buffer;
    QVERIFY(buffer.empty());
    QCOMPARE(contents(buffer), std::string());
}

void RecordBufferTest::keepsBytesInOrder_data()
{
    QTest::addColumn<int>("size");
    QTest::addColumn<int>("count");
    QTest::newRow("many small ones") << 100 << 50'000;
    QTest::newRow("exactly a block each") << (1 << 20) << 4;
    QTest::newRow("a byte more than a block") << (1 << 20) + 1 << 4;
    QTest::newRow("much more than a block") << 5'000'000 << 3;
    QTest::newRow("two of them fill a block") << (1 << 19) << 5;
}

void RecordBufferTest::keepsBytesInOrder()
{
    QFETCH(int, size);
    QFETCH(int, count);
    RecordBuffer buffer;
    std::string expected;
    for (int i = 0; i < count; ++i) {
        const std::string bytes(static_cast<std::size_t>(size), static_cast<char>('a' + i % 26));
        char* room = buffer.reserve(bytes.size());
        buffer.commit(std::copy(bytes.begin(), bytes.end(), room));
        expected += bytes;
    }
    QVERIFY(!buffer.empty());
    QVERIFY(contents(buffer) == expected);
}

void RecordBufferTest::roomThatWasNotUsedIsNotWritten()
{
    RecordBuffer buffer;
    std::string expected;
    for (const char* text : {"one ", "", "two ", "three"}) {
        char* room = buffer.reserve(700'000);
        buffer.commit(std::copy(text, text + std::strlen(text), room));
        expected += text;
    }
    QCOMPARE(contents(buffer), expected);
}

void RecordBufferTest::clearingEmptiesIt()
{
    RecordBuffer buffer;
    char* room = buffer.reserve(1);
    *room = 'x';
    buffer.commit(room + 1);
    buffer.clear();
    QVERIFY(buffer.empty());
    QCOMPARE(contents(buffer), std::string());
}

} // namespace korvane

QTEST_APPLESS_MAIN(korvane::RecordBufferTest)
#include "RecordBufferTest.moc"
