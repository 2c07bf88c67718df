#include "pairing/QrCode.h"

#include "support/Printing.h"

using namespace korvane;

/// The modules of a QR code: its version, error correction level, mode and quiet zone.
class QrCodeTest : public QObject {
    Q_OBJECT

private slots:
    void smallestVersionThatHoldsTheTextIsTaken_data()
    {
        QTest::addColumn<int>("bytes");
        QTest::addColumn<int>("modules");
        QTest::newRow("nothing") << 0 << 21;
        QTest::newRow("the most of version 1") << 14 << 21;
        QTest::newRow("the least of version 2") << 15 << 25;
        QTest::newRow("the most of version 2") << 26 << 25;
        QTest::newRow("the least of version 3") << 27 << 29;
        QTest::newRow("the most of version 7") << 122 << 45;
        QTest::newRow("the least of version 8") << 123 << 49;
        QTest::newRow("a short link") << 125 << 49;
        QTest::newRow("a long link") << 152 << 49;
        QTest::newRow("the least of version 9") << 153 << 53;
        QTest::newRow("the least of version 40") << 2214 << 177;
        QTest::newRow("the most of all") << 2331 << 177;
    }

    void smallestVersionThatHoldsTheTextIsTaken()
    {
        QFETCH(int, bytes);
        QFETCH(int, modules);
        for (const char letter : {'a', '1', 'A', '\xFF'}) { // in byte mode, each takes one byte
            const auto code = QrCode::encode(std::string(static_cast<std::size_t>(bytes), letter));
            QVERIFY(code);
            QCOMPARE(code->side(), modules + 2 * 4);
        }
    }

    void longerTextIsNothing()
    {
        for (const std::size_t bytes : {2332U, 2333U, 10'000U}) {
            QVERIFY(!QrCode::encode(std::string(bytes, '1')));
            QVERIFY(!QrCode::encode(std::string(bytes, 'a')));
        }
        QVERIFY(!QrCode::encode(std::string(1'000'000, 'a')));
    }

    void formatSaysLevelM_data() { addTexts(); }
    void formatSaysLevelM()
    {
        QFETCH(std::string, text);
        const auto code = QrCode::encode(text);
        QVERIFY(code);
        const unsigned format = formatOf(*code);
        QCOMPARE(remainderOf(format), 0U); // a valid BCH codeword
        QCOMPARE(format >> 13, 0U); // 01 is L, 00 is M, 11 is Q, 10 is H
        QCOMPARE(secondFormatOf(*code), format);
    }

    void textIsInByteMode_data() { addTexts(); }
    void textIsInByteMode()
    {
        QFETCH(std::string, text);
        const auto code = QrCode::encode(text);
        QVERIFY(code);
        const unsigned mask = formatOf(*code) >> 10 & 7;
        const int last = modulesOf(*code) - 1;
        unsigned mode
            = 0; // the mode indicator: the first four data bits, in a zigzag from the bottom right
        for (const auto& [x, y] :
            {std::pair(last, last), {last - 1, last}, {last, last - 1}, {last - 1, last - 1}})
            mode = mode << 1 | static_cast<unsigned>(isDark(*code, x, y) != isMasked(mask, x, y));
        QCOMPARE(mode, 4U);
    }

    void cornersHaveFinders()
    {
        const auto code = QrCode::encode("hello");
        QVERIFY(code);
        const int far = modulesOf(*code) - 7;
        for (const auto& [left, top] : {std::pair(0, 0), {far, 0}, {0, far}}) {
            for (int y = 0; y < 7; ++y) {
                for (int x = 0; x < 7; ++x) {
                    const int ring = std::max(std::abs(x - 3), std::abs(y - 3));
                    QCOMPARE(isDark(*code, left + x, top + y), ring != 2);
                }
            }
        }
    }

    void quietZoneAndWhatIsOutsideAreLight()
    {
        const auto code = QrCode::encode(std::string(125, 'a'));
        QVERIFY(code);
        int dark = 0;
        for (int row = -3; row < code->side() + 3; ++row) {
            for (int column = -3; column < code->side() + 3; ++column) {
                if (!code->isDark(column, row))
                    continue;
                ++dark;
                QVERIFY(column >= 4 && column < code->side() - 4);
                QVERIFY(row >= 4 && row < code->side() - 4);
            }
        }
        QVERIFY(dark > 49 * 49 / 3);
        QVERIFY(dark < 49 * 49 * 2 / 3);
    }

    void farOutsideIsLight()
    {
        const auto code = QrCode::encode("hello");
        QVERIFY(code);
        for (const int far : {-2'000'000'000, -1, 1'000'000, 2'000'000'000}) {
            QVERIFY(!code->isDark(far, 10));
            QVERIFY(!code->isDark(10, far));
            QVERIFY(!code->isDark(far, far));
        }
    }

    void rowsAndColumnsAreNotMixedUp()
    {
        const auto code = QrCode::encode("hello");
        QVERIFY(code);
        QVERIFY(isDark(*code, 8, modulesOf(*code) - 8)); // the dark module
        QVERIFY(!isDark(*code, 7, modulesOf(*code) - 8)); // a light module of a finder's separator
    }

private:
    static void addTexts()
    {
        QTest::addColumn<std::string>("text");
        QTest::newRow("letters") << std::string("hello");
        QTest::newRow("digits") << std::string("0123456789");
        QTest::newRow("capitals") << std::string("HTTP://A.B");
        QTest::newRow("one letter, with room for a better level") << std::string("a");
        QTest::newRow("nothing") << std::string();
        QTest::newRow("UTF-8") << std::string("\u4E09\u00E9");
        QTest::newRow("a link") << std::string(125, 'k');
        QTest::newRow("the longest text") << std::string(2331, '1');
    }

    static int modulesOf(const QrCode& code) { return code.side() - 2 * QrCode::quietZone; }

    /// The coordinates do not count the quiet zone.
    static bool isDark(const QrCode& code, int x, int y)
    {
        return code.isDark(x + QrCode::quietZone, y + QrCode::quietZone);
    }

    static unsigned bit(const QrCode& code, int x, int y)
    {
        return static_cast<unsigned>(isDark(code, x, y));
    }

    static constexpr unsigned formatMask = 0b101'0100'0001'0010;

    /// The 15 bits of format information beside the top left finder, bit 14 first, unmasked.
    static unsigned formatOf(const QrCode& code)
    {
        unsigned format = 0;
        for (const int x : {0, 1, 2, 3, 4, 5, 7, 8})
            format = format << 1 | bit(code, x, 8);
        for (const int y : {7, 5, 4, 3, 2, 1, 0})
            format = format << 1 | bit(code, 8, y);
        return format ^ formatMask;
    }

    /// The copy of the format information beside the other two finders.
    static unsigned secondFormatOf(const QrCode& code)
    {
        const int modules = modulesOf(code);
        unsigned format = 0;
        for (int y = modules - 1; y >= modules - 7; --y)
            format = format << 1 | bit(code, 8, y);
        for (int x = modules - 8; x < modules; ++x)
            format = format << 1 | bit(code, x, 8);
        return format ^ formatMask;
    }

    /// The remainder modulo the generator polynomial of the BCH code (15, 5), which is
    /// x^10 + x^8 + x^5 + x^4 + x^2 + x + 1. It is 0 for a valid codeword.
    static unsigned remainderOf(unsigned format)
    {
        for (int shift = 4; shift >= 0; --shift) {
            if ((format >> (shift + 10) & 1) != 0)
                format ^= 0b101'0011'0111U << shift;
        }
        return format;
    }

    static bool isMasked(unsigned mask, int x, int y)
    {
        switch (mask) {
        case 0:
            return (x + y) % 2 == 0;
        case 1:
            return y % 2 == 0;
        case 2:
            return x % 3 == 0;
        case 3:
            return (x + y) % 3 == 0;
        case 4:
            return (x / 3 + y / 2) % 2 == 0;
        case 5:
            return x * y % 2 + x * y % 3 == 0;
        case 6:
            return (x * y % 2 + x * y % 3) % 2 == 0;
        default:
            return ((x + y) % 2 + x * y % 3) % 2 == 0;
        }
    }
};

QTEST_GUILESS_MAIN(QrCodeTest)
#include "QrCodeTest.moc"
