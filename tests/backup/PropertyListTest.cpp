#include "backup/PropertyList.h"

#include "backup/BinaryList.h"
#include "support/Printing.h"

#include <QByteArray>

using namespace korvane;

/// Property lists as phones write them, and absurd ones.
class PropertyListTest : public QObject {
    Q_OBJECT

    static std::string xml(const std::string& value)
    {
        return std::string("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\">")
            + value + "</plist>\n";
    }

    /// A list of these objects, of which the first is the topmost.
    static std::string binary(const std::vector<std::string>& objects)
    {
        BinaryList list;
        for (const std::string& object : objects)
            list.add(object);
        return list.bytes(0);
    }

    static std::string array(const std::vector<std::uint64_t>& items)
    {
        return BinaryList::arrayOf(items);
    }

    static std::string bigEndian(std::uint64_t value, int bytes)
    {
        return BinaryList::bigEndian(value, bytes);
    }

    static bool isRead(const std::string& bytes) { return PropertyList::parse(bytes).has_value(); }

private slots:
    void valuesAreReadByTheirTypes()
    {
        const auto list = PropertyList::parse(
            xml("<dict><key>text</key><string>Ann’s &amp; more</string><key>number</key>"
                "<integer>4611686018427387904</integer><key>yes</key><true/><key>no</key><false/>"
                "<key>data</key><data>AAEC/w==</data><key>date</key>"
                "<date>2026-11-01T18:30:00Z</date><key>items</key><array><string>a</string>"
                "<integer>7</integer></array></dict>"));
        QVERIFY(list);
        QVERIFY(list->root().isDictionary());
        QCOMPARE((*list)["text"].text(), std::optional<std::string_view>("Ann’s & more"));
        QCOMPARE((*list)["number"].integer(), std::optional<std::uint64_t>(1ULL << 62));
        QCOMPARE((*list)["yes"].boolean(), std::optional(true));
        QCOMPARE((*list)["no"].boolean(), std::optional(false));
        QCOMPARE((*list)["data"].data(), std::optional(std::string_view("\x00\x01\x02\xff", 4)));
        QCOMPARE((*list)["date"].date()->time_since_epoch().count(), 1'793'557'800);
        QCOMPARE((*list)["items"].at(1).integer(), std::optional<std::uint64_t>(7));
    }

    void valueOfAnotherTypeIsAbsent()
    {
        const auto list = PropertyList::parse(xml("<dict><key>a</key><integer>1</integer></dict>"));
        QVERIFY(list);
        const PropertyList::Value value = (*list)["a"];
        QVERIFY(value);
        QVERIFY(!value.text() && !value.data() && !value.boolean() && !value.date()
            && !value.reference() && !value.isDictionary() && !value["b"] && !value.at(0));
        QVERIFY(!(*list)["b"]);
        QVERIFY(!(*list)["b"]["c"].at(3).integer());
        QVERIFY(!list->root().at(0));
    }

    void itemBeyondTheEndIsAbsent()
    {
        const auto list = PropertyList::parse(xml("<array><true/></array>"));
        QVERIFY(list->root().at(0));
        QVERIFY(!list->root().at(1));
        QVERIFY(!list->root().at(std::uint64_t(1) << 32)); // 0 in 32 bits
    }

    void binaryListHasReferences()
    {
        const auto list = PropertyList::parse(binary({array({1, 2}), "\x80\x05", "\x51z"}));
        QVERIFY(list);
        QCOMPARE(list->root().at(0).reference(), std::optional<std::uint64_t>(5));
        QCOMPARE(list->root().at(1).text(), std::optional<std::string_view>("z"));
    }

    void whatIsNoPropertyListIsNotRead_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::newRow("nothing") << QByteArray();
        QTest::newRow("text") << QByteArray("hello");
        QTest::newRow("only a beginning") << QByteArray("bplist00");
        QTest::newRow("only a trailer") << QByteArray("bplist00" + QByteArray(32, '\xff'));
        QTest::newRow("torn XML") << QByteArray("<plist><dict><key>a");
    }

    void whatIsNoPropertyListIsNotRead()
    {
        QFETCH(const QByteArray, bytes);
        QVERIFY(!isRead(bytes.toStdString()));
    }

    void nestedListIsReadUpToALimit()
    {
        const auto nested = [](std::uint64_t levels) {
            std::vector<std::string> objects;
            for (std::uint64_t i = 1; i <= levels; ++i)
                objects.push_back(array({i}));
            objects.emplace_back("\x09");
            return binary(objects);
        };
        QVERIFY(isRead(nested(64)));
        QVERIFY(!isRead(nested(65)));
        QVERIFY(!isRead(nested(60'000))); // would exhaust the stack
    }

    void listThatStandsForAnImmenseTreeIsNotRead()
    {
        const auto doubling = [](std::uint64_t levels) {
            std::vector<std::string> objects;
            for (std::uint64_t i = 1; i <= levels; ++i)
                objects.push_back(array({i, i}));
            objects.emplace_back("\x09");
            return binary(objects);
        };
        QVERIFY(isRead(doubling(10)));
        QVERIFY(!isRead(doubling(40)));
    }

    void listThatRepeatsALongTextIsNotRead()
    {
        const std::string text = "\x5F\x12" + bigEndian(1 << 20, 4) + std::string(1 << 20, 'x');
        const std::vector<std::uint64_t> ten(10, 1);
        const std::vector<std::uint64_t> again(10, 2);
        QVERIFY(isRead(binary({array(ten), text})));
        QVERIFY(!isRead(binary({array(ten), array(again), text})));
    }

    void listThatContainsItselfIsNotRead()
    {
        QVERIFY(!isRead(binary({array({0})})));
        QVERIFY(!isRead(binary({array({1}), array({0})})));
    }

    void countBeyondTheEndIsNotRead()
    {
        QVERIFY(!isRead(binary({"\x4F\x13" + bigEndian(~0ULL, 8)})));
        QVERIFY(!isRead(binary({"\xAF\x13" + bigEndian(1ULL << 63, 8)})));
        QVERIFY(!isRead(binary({"\xDF\x12" + bigEndian(0x7fffffff, 4)})));
    }

    void deepXmlIsNotRead()
    {
        std::string deep;
        for (int i = 0; i < 1'000'000; ++i)
            deep += "<array>";
        QVERIFY(!isRead(xml(deep)));
        QVERIFY(isRead(xml("<array><array><array/></array></array>")));
    }
};

QTEST_GUILESS_MAIN(PropertyListTest)
#include "PropertyListTest.moc"
