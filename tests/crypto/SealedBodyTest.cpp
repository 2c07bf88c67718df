#include "crypto/Crypto.h"

#include "support/Printing.h"
#include "support/SealedByOthers.h"

#include <algorithm>
#include <set>

using namespace korvane;

/// Sealed bodies: compatible with another library, and rejected after any change.
class SealedBodyTest : public QObject {
    Q_OBJECT

private slots:
    void otherLibraryOpensWhatIsSealedHere_data() { addTexts(); }
    void otherLibraryOpensWhatIsSealedHere()
    {
        QFETCH(QByteArray, text);
        const SymmetricKey key = someKey();
        for (const std::string& target : targets()) {
            const auto sealed = key.seal(Envelope(viewOf(text)), target);
            QVERIFY(sealed);
            QCOMPARE(sealed->size(), 12 + text.size() + 16);
            QVERIFY(SealedByOthers::open(key.bytes(), *sealed, target) == text);
            QVERIFY(!SealedByOthers::open(key.bytes(), *sealed, target + "?x=1"));
        }
    }

    void whatTheOtherLibrarySealsIsOpenedHere_data() { addTexts(); }
    void whatTheOtherLibrarySealsIsOpenedHere()
    {
        QFETCH(QByteArray, text);
        const SymmetricKey key = someKey();
        for (const std::string& target : targets()) {
            const QByteArray sealed
                = SealedByOthers::seal(key.bytes(), "twelve bytes", text, target);
            QVERIFY(key.open(sealed, target) == text);
            QVERIFY(!key.open(sealed, target + "?x=1"));
        }
    }

    /// Test case 16 (256-bit key, 96-bit nonce) in McGrew and Viega, "The Galois/Counter Mode of
    /// Operation", appendix B.
    void publishedExampleOpens()
    {
        const auto key = SymmetricKey::fromBytes(QByteArray::fromHex(
            "feffe9928665731c6d6a8f9467308308feffe9928665731c6d6a8f9467308308"));
        const QByteArray sealed = QByteArray::fromHex("cafebabefacedbaddecaf888522dc1f099567d07f47f"
                                                      "37a32a84427d643a8cdcbfe5c0c97598a2bd2555d1aa"
                                                      "8cb08e48590dbb3da7b08b1056828838c5f61e6393ba"
                                                      "7a0abcc9f66276fc6ece0f4e1768cddf8853bb2d551"
                                                      "b");
        const QByteArray text = QByteArray::fromHex("d9313225f88406e5a55909c5aff5269a86a7a9531534f7"
                                                    "da2e4c303d8a318a721c3c0c95956809532fcf0e24"
                                                    "49a6b525b16aedf5aa0de657ba637b39");
        const QByteArray context = QByteArray::fromHex("feedfacedeadbeeffeedfacedeadbeefabaddad2");
        QVERIFY(key);
        QCOMPARE(key->open(sealed, viewOf(context)), std::optional(text));
    }

    void everyFlippedBitIsFound()
    {
        const SymmetricKey key = someKey();
        const auto sealed = key.seal(Envelope("hello"), "/v1/manifest");
        QVERIFY(sealed);
        QCOMPARE(sealed->size(), 33);
        for (int bit = 0; bit < 33 * 8; ++bit)
            QVERIFY2(!key.open(flipped(*sealed, bit), "/v1/manifest"), qPrintable(number(bit)));
        QCOMPARE(key.open(*sealed, "/v1/manifest"), std::optional<QByteArray>("hello"));
    }

    void everyMissingOrAddedByteIsFound()
    {
        const SymmetricKey key = someKey();
        const QByteArray sealed = key.seal(Envelope("hello"), "/v1/manifest").value_or("");
        for (int size = 0; size < 33; ++size) {
            QVERIFY2(!key.open(sealed.first(size), "/v1/manifest"), qPrintable(number(size)));
            QVERIFY2(!key.open(sealed.last(size), "/v1/manifest"), qPrintable(number(size)));
        }
        QVERIFY(!key.open(sealed + '\0', "/v1/manifest"));
        QVERIFY(!key.open('\0' + sealed, "/v1/manifest"));
        QVERIFY(!key.open(QByteArray(28, '\0'), "/v1/manifest"));
        QVERIFY(!key.open(QByteArrayView(), "/v1/manifest"));
    }

    void noOtherKeyOpensABody()
    {
        const SymmetricKey key = someKey();
        const QByteArray sealed = key.seal(Envelope("hello"), "/v1/manifest").value_or("");
        for (int bit = 0; bit < 256; ++bit) {
            const auto other = SymmetricKey::fromBytes(flipped(key.bytes(), bit));
            QVERIFY2(!other->open(sealed, "/v1/manifest"), qPrintable(number(bit)));
        }
        QVERIFY(key.open(sealed, "/v1/manifest"));
    }

    void noOtherTargetOpensABody()
    {
        const SymmetricKey key = someKey();
        const QByteArray target = "/v1/files/a%20b?offset=5";
        const QByteArray sealed = key.seal(Envelope("hello"), viewOf(target)).value_or("");
        for (int bit = 0; bit < 8 * static_cast<int>(target.size()); ++bit)
            QVERIFY2(!key.open(sealed, viewOf(flipped(target, bit))), qPrintable(number(bit)));
        for (const char* other :
            {"", "/v1/files/a%20b", "/v1/files/a b?offset=5", "/v1/files/a%20b?offset=50",
                "/v1/files/a%20b?offset=", "/V1/files/a%20b?offset=5", "/v1/files/a%20b?offset=5 "})
            QVERIFY2(!key.open(sealed, other), other);
        QVERIFY(key.open(sealed, viewOf(target)));
    }

    void bodyIsNotFoundInWhatIsSealed()
    {
        const auto sealed = someKey().seal(Envelope("a text that nobody may read"), "the target");
        QVERIFY(sealed);
        QVERIFY(!sealed->contains("nobody"));
        QVERIFY(!sealed->contains("target"));
        QVERIFY(!sealed->contains(someKey().bytes()));
    }

    void hundredThousandBodiesNeverRepeatANonce()
    {
        const SymmetricKey key = someKey();
        std::set<QByteArray> nonces;
        for (int i = 0; i < 100'000; ++i) {
            const auto sealed = key.seal(Envelope("same"), "/v1/manifest");
            QVERIFY(sealed);
            nonces.insert(sealed->first(12));
        }
        QCOMPARE(nonces.size(), 100'000U);
    }

    void envelopeIsFilledInPlace()
    {
        Envelope envelope(qsizetype{5});
        QCOMPARE(envelope.text().size(), 5U);
        std::fill(envelope.text().begin(), envelope.text().end(), 'x');
        const auto sealed = someKey().seal(std::move(envelope), "target");
        QCOMPARE(opened(sealed), std::optional<QByteArray>("xxxxx"));
    }

    void envelopeIsShortenedToWhatThereWas_data()
    {
        QTest::addColumn<int>("size");
        QTest::newRow("all of it") << 10;
        QTest::newRow("one byte less") << 9;
        QTest::newRow("one byte") << 1;
        QTest::newRow("nothing") << 0;
    }

    void envelopeIsShortenedToWhatThereWas()
    {
        QFETCH(int, size);
        Envelope envelope("0123456789");
        envelope.shorten(size);
        QCOMPARE(static_cast<int>(envelope.text().size()), size);
        const auto sealed = someKey().seal(std::move(envelope), "target");
        QVERIFY(sealed);
        QCOMPARE(sealed->size(), size + 28);
        QCOMPARE(opened(sealed), std::optional(QByteArray("0123456789").first(size)));
    }

    void envelopeMayBeSealedTwice()
    {
        const Envelope envelope("hello");
        const auto first = someKey().seal(envelope, "target");
        const auto second = someKey().seal(envelope, "target");
        QCOMPARE(opened(first), std::optional<QByteArray>("hello"));
        QCOMPARE(opened(second), std::optional<QByteArray>("hello"));
        QVERIFY(first->sliced(12) != second->sliced(12));
    }

private:
    static void addTexts()
    {
        QTest::addColumn<QByteArray>("text");
        QTest::newRow("nothing") << QByteArray("");
        QTest::newRow("one byte") << QByteArray("x");
        QTest::newRow("every byte") << everyByte();
        QTest::newRow("one block") << QByteArray(16, 'b');
        QTest::newRow("one block and a byte") << QByteArray(17, 'b');
        QTest::newRow("4 MiB") << everyByte().repeated(16'384);
    }

    static std::vector<std::string> targets()
    {
        return {
            "/v1/manifest", "/v1/files/a%20b?offset=5", "", "\xFF\u00E9", std::string(5000, 'a')};
    }

    static QByteArray everyByte()
    {
        QByteArray bytes(256, '\0');
        for (int i = 0; i < 256; ++i)
            bytes[i] = static_cast<char>(i);
        return bytes;
    }

    static SymmetricKey someKey()
    {
        return *SymmetricKey::fromBytes(QByteArray("0123456789abcdef\0\xFF++++////----__", 32));
    }

    static std::optional<QByteArray> opened(const std::optional<QByteArray>& sealed)
    {
        return sealed ? SealedByOthers::open(someKey().bytes(), *sealed, "target") : std::nullopt;
    }

    static QByteArray flipped(QByteArray bytes, int bit)
    {
        bytes[bit / 8] = static_cast<char>(bytes[bit / 8] ^ (1 << bit % 8));
        return bytes;
    }

    static QString number(int value) { return QString::number(value); }

    static std::string_view viewOf(const QByteArray& bytes)
    {
        return {bytes.data(), static_cast<std::size_t>(bytes.size())};
    }
};

QTEST_GUILESS_MAIN(SealedBodyTest)
#include "SealedBodyTest.moc"
