#include "text/Utf8.h"
#include "messages/Rows.h"

namespace korvane {

/// Validating UTF-8, and repairing ill-formed text: each maximal subpart of an ill-formed
/// subsequence becomes one U+FFFD (Unicode Standard, section 3.9).
class Utf8Test : public QObject {
    Q_OBJECT

private slots:
    void acceptsWellFormedText_data()
    {
        QTest::addColumn<std::string>("text");
        QTest::newRow("nothing") << std::string();
        QTest::newRow("ASCII") << std::string("hello");
        QTest::newRow("a NUL") << bytes("a\0b");
        QTest::newRow("the first of two bytes") << std::string("\xC2\x80");
        QTest::newRow("the last of two bytes") << std::string("\xDF\xBF");
        QTest::newRow("the first of three bytes") << std::string("\xE0\xA0\x80");
        QTest::newRow("the last before the surrogates") << std::string("\xED\x9F\xBF");
        QTest::newRow("the first after the surrogates") << std::string("\xEE\x80\x80");
        QTest::newRow("a noncharacter") << std::string("\xEF\xBF\xBF");
        QTest::newRow("the first of four bytes") << std::string("\xF0\x90\x80\x80");
        QTest::newRow("the last code point of all") << std::string("\xF4\x8F\xBF\xBF");
        QTest::newRow("a byte order mark") << std::string("\xEF\xBB\xBFhello");
        QTest::newRow("U+FFFD itself") << std::string("\uFFFD");
        QTest::newRow("a family") << std::string("\U0001F468\u200D\U0001F469\u200D\U0001F467");
    }

    void acceptsWellFormedText()
    {
        QFETCH(std::string, text);
        QVERIFY(isValidUtf8(text));
        QCOMPARE(repairedUtf8(text), text);
    }

    void repairsIllFormedText_data()
    {
        QTest::addColumn<std::string>("text");
        QTest::addColumn<std::string>("repaired"); // with ? for U+FFFD

        const auto row = [](const char* name, std::string text, std::string repaired) {
            QTest::newRow(name) << std::move(text) << std::move(repaired);
        };
        // The first four are the examples of the Unicode Standard (tables 3-8 to 3-11).
        row("overlong forms", "\xC0\xAF\xE0\x80\xBF\xF0\x81\x82\x41", "????????A");
        row("surrogates", "\xED\xA0\x80\xED\xBF\xBF\xED\xAF\x41", "????????A");
        row("other ill-formed sequences", "\xF4\x91\x92\x93\xFF\x41\x80\xBF\x42", "?????A??B");
        row("truncated sequences", "\xE1\x80\xE2\xF0\x91\x92\xF1\xBF\x41", "????A");
        row("its example of maximal subparts",
            "\x61\xF1\x80\x80\xE1\x80\xC2\x62\x80\x63\x80\xBF\x64", "a???b?c??d");
        row("a lone continuation byte", "a\x80z", "a?z");
        row("a lead byte at the end", "a\xC3", "a?");
        row("two of three bytes at the end", "a\xE2\x82", "a?");
        row("three of four bytes at the end", "a\xF0\x9F\x98", "a?");
        row("a lead byte before ASCII", "\xE2hello", "?hello");
        row("bytes that never occur", "\xFE\xFF\xF8\xC1\xF5", "?????");
        row("above the last code point", "\xF4\x90\x80\x80", "????");
        row("a five-byte form", "\xF8\x88\x80\x80\x80", "?????");
        row("a pair of surrogates", "\xED\xA0\xBD\xED\xB8\x80", "??????");
        row("good text around", "\u00E9\xFF\U0001F600", "\u00E9?\U0001F600");
        row("NULs around", bytes("\0\xFF\0"), bytes("\0?\0"));
    }

    void repairsIllFormedText()
    {
        QFETCH(std::string, text);
        QFETCH(std::string, repaired);
        const QString expected
            = QString::fromStdString(repaired).replace(QLatin1Char('?'), QChar(0xFFFD));
        QVERIFY(!isValidUtf8(text));
        QCOMPARE(repairedUtf8(text), expected.toStdString());
    }

    void repairedTextIsWellFormed_data() { repairsIllFormedText_data(); }
    void repairedTextIsWellFormed()
    {
        QFETCH(std::string, text);
        const std::string repaired = repairedUtf8(text);
        QVERIFY(isValidUtf8(repaired));
        QCOMPARE(repairedUtf8(repaired), repaired);
    }

    void tellsAscii()
    {
        QVERIFY(isAscii(""));
        QVERIFY(isAscii(bytes("\0 ~\x7F")));
        for (std::size_t at = 0; at < 40; ++at) { // at every position
            std::string text(40, 'a');
            text[at] = '\x80';
            QVERIFY(!isAscii(text));
        }
    }

    void codePointsComeWithTheirBytes()
    {
        std::string values;
        std::string joined;
        for (const auto [value, bytes] : CodePoints("aé€😀")) {
            values += std::to_string(value) + ' ';
            joined += std::string(bytes) + ' ';
        }
        QCOMPARE(values, std::string("97 233 8364 128512 "));
        QCOMPARE(joined, std::string("a é € 😀 "));
        QVERIFY(CodePoints("").begin() == CodePoints::end());
    }

    void illFormedBytesAreOneNegativeCodePoint()
    {
        auto next = CodePoints("\xE1\x80z").begin();
        QVERIFY((*next).value < 0);
        QCOMPARE((*next).bytes, std::string_view("\xE1\x80"));
        ++next;
        QCOMPARE((*next).value, std::int32_t('z'));
        ++next;
        QVERIFY(next == CodePoints::end());
    }
};

} // namespace korvane

QTEST_GUILESS_MAIN(korvane::Utf8Test)
#include "Utf8Test.moc"
