#include "messages/Rows.h"

namespace korvane {

namespace {

using Text = std::optional<std::string_view>;

Text decoded(std::string_view body)
{
    return MessagesDB::decodeAttributedBody(body);
}

const std::string marker = "NSString";
const std::string fiveBytes = bytes("\x01\x94\x84\x01\x2B");
const std::string head = marker + fiveBytes;

/// A body as Messages writes it, with the text "hello".
const std::string realBody = bytes("\x04\x0Bstreamtyped\x81\xE8\x03\x84\x01@\x84\x84\x84\x12"
                                   "NSAttributedString\0\x84\x84\x08NSObject\0\x85\x92\x84\x84"
                                   "\x84\x08NSString\x01\x94\x84\x01+\x05hello\x86\x84\x02iI\x01"
                                   "\x05\x92\x84\x84\x84\x0CNSDictionary\0\x94\x84\x01i\x01");

} // namespace

/// Extracting the text from an archived attributed string by its fixed byte pattern.
class AttributedBodyTest : public QObject {
    Q_OBJECT

private slots:
    void yieldsTheText_data()
    {
        QTest::addColumn<std::string>("body");
        QTest::addColumn<std::string>("text");

        const auto row = [](const char* name, std::string body, std::string text) {
            QTest::newRow(name) << std::move(body) << std::move(text);
        };
        const std::string long300 = "\u00E9" + std::string(298, 'x');
        const std::string longest(65535, 'y');

        row("a body of Messages", realBody, "hello");
        row("nothing but the pattern", head + "\x05hello", "hello");
        row("bytes behind the text", head + "\x05hello\x86\x84", "hello");
        row("five bytes of any kind", marker + bytes("\0\xFF\x81NS") + "\x05hello", "hello");
        row("an empty text", head + bytes("\0"), "");
        row("an empty text with a long length", head + bytes("\x81\0\0"), "");
        row("127 bytes", head + "\x7F" + std::string(127, 'x'), std::string(127, 'x'));
        row("128 bytes with a short length", head + "\x80" + std::string(128, 'x'),
            std::string(128, 'x'));
        row("130 bytes: 0x82 is a length", head + "\x82" + std::string(130, 'x'),
            std::string(130, 'x'));
        row("132 bytes: 0x84 is a length", head + "\x84" + std::string(140, 'x'),
            std::string(132, 'x'));
        row("255 bytes with a short length", head + "\xFF" + std::string(255, 'x'),
            std::string(255, 'x'));
        row("300 bytes with a long length", head + bytes("\x81\x2C\x01") + long300, long300);
        row("5 bytes with a long length", head + bytes("\x81\x05\0") + "hello", "hello");
        row("256 bytes: the high byte alone", head + bytes("\x81\0\x01") + std::string(256, 'x'),
            std::string(256, 'x'));
        row("the longest text", head + "\x81\xFF\xFF" + longest, longest);
        row("other scripts", head + "\x09\u4E09\u4E09\u4E09", "\u4E09\u4E09\u4E09");
        row("a NUL in the text",
            head
                + bytes("\x03"
                        "a\0b"),
            bytes("a\0b"));
        row("a byte order mark", head + "\x05\xEF\xBB\xBFhi", "\xEF\xBB\xBFhi");
        row("a placeholder is left alone here", head + "\x05\uFFFChi", "\uFFFChi");
        row("the marker inside a longer name", "xNSStringx" + std::string("\x94\x84\x01\x2B\x02hi"),
            "hi");
        row("the marker after half a marker", "NSStrNSString" + fiveBytes + "\x02hi", "hi");
        row("a second marker does not count", head + "\x02hi" + head + "\x02no", "hi");
        row("a marker in the skipped bytes: the length is its i",
            marker + marker + std::string(103, 'x'), "ng" + std::string(103, 'x'));
    }

    void yieldsTheText()
    {
        QFETCH(std::string, body);
        QFETCH(std::string, text);
        QCOMPARE(decoded(body), Text(text));
    }

    void yieldsNothing_data()
    {
        QTest::addColumn<std::string>("body");

        const auto row
            = [](const char* name, std::string body) { QTest::newRow(name) << std::move(body); };
        row("nothing at all", "");
        row("no marker", "streamtyped" + fiveBytes + "\x05hello");
        row("the marker in another case", "nsstring" + fiveBytes + "\x05hello");
        row("another class", "NSMutableString" + fiveBytes + "\x05hello");
        row("the marker in UTF-16", bytes("N\0S\0S\0t\0r\0i\0n\0g\0") + fiveBytes + "\x05hello");
        row("the marker alone", marker);
        row("an end inside the skipped bytes", marker + fiveBytes.substr(0, 4));
        row("an end after the skipped bytes", head);
        row("a length and no text", head + "\x05");
        row("10 announced, 9 there", head + "\x0A" + std::string(9, 'x'));
        row("a long length without its bytes", head + "\x81");
        row("a long length with one of its bytes", head + "\x81\x05");
        row("a long length and no text", head + bytes("\x81\x05\0"));
        row("300 announced, 299 there", head + bytes("\x81\x2C\x01") + std::string(299, 'x'));
        row("a length of four bytes: 0x82 is a length", head + bytes("\x82\x05\0\0\0") + "hello");
        row("a lone 0xFF", head + "\x01\xFF");
        row("half a letter at the end",
            head
                + "\x02"
                  "a\xC3"
                  "\xA9");
        row("a surrogate", head + "\x03\xED\xA0\x80");
        row("an overlong form", head + "\x02\xC0\x80");
        row("a first marker that leads to nothing", head + "\x01\xFF" + head + "\x02hi");
    }

    void yieldsNothing()
    {
        QFETCH(std::string, body);
        QCOMPARE(decoded(body), Text());
    }

    void yieldsAViewIntoTheBytes()
    {
        const Text text = decoded(realBody);
        QVERIFY(text);
        QVERIFY(text->data() > realBody.data());
        QVERIFY(text->data() + text->size() < realBody.data() + realBody.size());
    }

    void survivesEveryCutOfARealBody()
    {
        const std::size_t textEnd = realBody.find("hello") + 5;
        for (std::size_t size = 0; size <= realBody.size(); ++size) {
            const std::vector<char> exact(
                realBody.begin(), realBody.begin() + std::ptrdiff_t(size));
            const Text text = decoded({exact.data(), exact.size()});
            QCOMPARE(text, size < textEnd ? Text() : Text("hello"));
        }
    }
};

} // namespace korvane

QTEST_APPLESS_MAIN(korvane::AttributedBodyTest)
#include "AttributedBodyTest.moc"
