#include "text/Base64Url.h"

#include "support/Printing.h"

using namespace korvane;

/// Base64url and base64: encoding, and strict decoding.
class Base64UrlTest : public QObject {
    Q_OBJECT

private slots:
    void bytesAndTextBelongTogether_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<std::string>("text");
        QTest::newRow("nothing") << QByteArray() << std::string();
        QTest::newRow("one byte") << QByteArray("f") << std::string("Zg");
        QTest::newRow("two bytes") << QByteArray("fo") << std::string("Zm8");
        QTest::newRow("three bytes") << QByteArray("foo") << std::string("Zm9v");
        QTest::newRow("four bytes") << QByteArray("foob") << std::string("Zm9vYg");
        QTest::newRow("six bytes") << QByteArray("foobar") << std::string("Zm9vYmFy");
        QTest::newRow("a zero") << QByteArray(1, '\0') << std::string("AA");
        QTest::newRow("hyphens") << QByteArray("\xFB\xEF\xBE") << std::string("----");
        QTest::newRow("underscores") << QByteArray("\xFF\xFF\xFF") << std::string("____");
        QTest::newRow("the last characters") << QByteArray("\xFF\xEF") << std::string("_-8");
    }

    void bytesAndTextBelongTogether()
    {
        QFETCH(QByteArray, bytes);
        QFETCH(std::string, text);
        QCOMPARE(toBase64Url(bytes), text);
        QCOMPARE(fromBase64Url(text), std::optional(bytes));
    }

    void everyCharacterOfTheAlphabetStandsForItsNumber()
    {
        const std::string alphabet
            = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-_";
        for (std::size_t number = 0; number < alphabet.size(); ++number) {
            const auto bytes = fromBase64Url(std::string(3, 'A') + alphabet[number]);
            QCOMPARE(bytes, std::optional(QByteArray("\0\0", 2) + static_cast<char>(number)));
            QCOMPARE(toBase64Url(*bytes), std::string(3, 'A') + alphabet[number]);
        }
    }

    void everyLengthComesBack()
    {
        QByteArray bytes;
        for (int size = 0; size < 300; ++size) {
            const std::string text = toBase64Url(bytes);
            QCOMPARE(static_cast<int>(text.size()), (size * 8 + 5) / 6);
            QCOMPARE(fromBase64Url(text), std::optional(bytes));
            bytes.append(static_cast<char>(size * 37));
        }
    }

    void whatNoEncoderWritesIsNothing_data()
    {
        QTest::addColumn<std::string>("text");
        QTest::newRow("padding of one") << std::string("Zm8=");
        QTest::newRow("padding of two") << std::string("Zg==");
        QTest::newRow("half of the padding") << std::string("Zg=");
        QTest::newRow("needless padding") << std::string("Zm9v=");
        QTest::newRow("padding alone") << std::string("=");
        QTest::newRow("a plus") << std::string("++++");
        QTest::newRow("a slash") << std::string("////");
        QTest::newRow("a slash among others") << std::string("Zm/v");
        QTest::newRow("a blank in front") << std::string(" Zm9v");
        QTest::newRow("a blank behind") << std::string("Zm9v ");
        QTest::newRow("a blank within") << std::string("Zm 9v");
        QTest::newRow("a line's end") << std::string("Zm9v\n");
        QTest::newRow("a carriage return within") << std::string("Zm\r\n9v");
        QTest::newRow("a zero byte within") << std::string("Zm\0009v", 5);
        QTest::newRow("a zero byte behind") << std::string("Zm9v\0", 5);
        QTest::newRow("a dot") << std::string("Zm9v.");
        QTest::newRow("a percent sign") << std::string("Zm9v%3D");
        QTest::newRow("another letter") << std::string("Zm9\u00E9");
        QTest::newRow("a byte that is no text") << std::string("Zm9\xFF");
        QTest::newRow("one character") << std::string("Z");
        QTest::newRow("one character too many") << std::string("Zm9vZ");
        QTest::newRow("bits that are not used, of one byte") << std::string("Zh");
        QTest::newRow("bits that are not used, of two bytes") << std::string("Zm9");
    }

    void whatNoEncoderWritesIsNothing()
    {
        QFETCH(std::string, text);
        QVERIFY(!fromBase64Url(text));
    }

    void onlyTheAlphabetIsTaken()
    {
        int taken = 0;
        for (int byte = 0; byte < 256; ++byte)
            taken += fromBase64Url(std::string("AAA") + static_cast<char>(byte)).has_value();
        QCOMPARE(taken, 64);
    }

    void standardFormIsPaddedAndHasItsOwnAlphabet()
    {
        QCOMPARE(fromBase64("Zg=="), std::optional<QByteArray>("f"));
        QCOMPARE(fromBase64("Zm8="), std::optional<QByteArray>("fo"));
        QCOMPARE(fromBase64("Zm9v"), std::optional<QByteArray>("foo"));
        QCOMPARE(fromBase64("++//"), std::optional<QByteArray>("\xFB\xEF\xFF"));
        QCOMPARE(fromBase64(""), std::optional<QByteArray>(""));
    }

    void whatIsNotTheStandardFormIsNothing_data()
    {
        QTest::addColumn<QByteArray>("text");
        QTest::newRow("no padding") << QByteArray("Zg");
        QTest::newRow("half of the padding") << QByteArray("Zg=");
        QTest::newRow("needless padding") << QByteArray("Zm9v=");
        QTest::newRow("padding within") << QByteArray("Zg==Zm9v");
        QTest::newRow("the other alphabet") << QByteArray("--__");
        QTest::newRow("white space") << QByteArray("Zm9v\n");
        QTest::newRow("a blank within") << QByteArray("Zm 9v");
        QTest::newRow("a stray character") << QByteArray("Zm9v!");
        QTest::newRow("bits that are not used") << QByteArray("Zh==");
    }

    void whatIsNotTheStandardFormIsNothing()
    {
        QFETCH(QByteArray, text);
        QVERIFY(!fromBase64(text));
    }
};

QTEST_GUILESS_MAIN(Base64UrlTest)
#include "Base64UrlTest.moc"
