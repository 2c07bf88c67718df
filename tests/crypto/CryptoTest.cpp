#include "crypto/Crypto.h"

#include "support/Printing.h"

#include <array>
#include <new>
#include <set>

using namespace korvane;

/// Keys, secrets and random bytes. SealedBodyTest covers encryption.
class CryptoTest : public QObject {
    Q_OBJECT

private slots:
    void newKeysAreAllDifferent()
    {
        std::set<QByteArray> keys;
        for (int i = 0; i < 1000; ++i) {
            const auto key = SymmetricKey::make();
            QVERIFY(key);
            QCOMPARE(key->bytes().size(), 32);
            keys.insert(key->bytes());
        }
        QCOMPARE(keys.size(), 1000U);
    }

    void keyIsTheBytesThatItIsMadeFrom()
    {
        QByteArray bytes;
        for (int i = 0; i < 32; ++i)
            bytes.append(static_cast<char>(i * 9));
        const auto key = SymmetricKey::fromBytes(bytes);
        QVERIFY(key);
        QCOMPARE(key->bytes(), bytes);
        const SymmetricKey copy = *key; // NOLINT(performance-unnecessary-copy-initialization)
        QCOMPARE(copy.bytes(), bytes);
        auto other = SymmetricKey::make();
        *other = *key;
        QCOMPARE(other->bytes(), bytes);
    }

    void keyOfAnotherSizeIsNothing()
    {
        for (const int size : {0, 1, 16, 24, 31, 33, 64})
            QVERIFY(!SymmetricKey::fromBytes(QByteArray(size, 'k')));
        QVERIFY(SymmetricKey::fromBytes(QByteArray(32, 'k')));
    }

    void keysAreEqualWhereEveryBitIs()
    {
        const QByteArray bytes(32, 'k');
        QVERIFY(SymmetricKey::fromBytes(bytes) == SymmetricKey::fromBytes(bytes));
        for (int bit = 0; bit < 256; ++bit)
            QVERIFY(SymmetricKey::fromBytes(flipped(bytes, bit)) != SymmetricKey::fromBytes(bytes));
    }

    void keyIsWipedWhenItGoes()
    {
        const QByteArray secret(32, 'k');
        alignas(SymmetricKey) std::array<unsigned char, sizeof(SymmetricKey)> memory{};
        auto* key = new (memory.data()) SymmetricKey(*SymmetricKey::fromBytes(secret));
        QCOMPARE(seenIn(memory), secret);
        key->~SymmetricKey();
        QCOMPARE(seenIn(memory), QByteArray(32, '\0'));
    }

    void keyThatIsGivenUpIsWiped()
    {
        alignas(SymmetricKey) std::array<unsigned char, sizeof(SymmetricKey)> memory{};
        auto* key = new (memory.data()) SymmetricKey(*SymmetricKey::fromBytes(QByteArray(32, 'k')));
        {
            const SymmetricKey moved = std::move(*key); // NOLINT: the test needs the move
            QCOMPARE(moved.bytes(), QByteArray(32, 'k'));
        }
        key->~SymmetricKey();
        QCOMPARE(seenIn(memory), QByteArray(32, '\0'));
    }

    void wipingOneKeyLeavesItsCopies()
    {
        const auto key = SymmetricKey::make();
        const QByteArray bytes = key->bytes();
        {
            const SymmetricKey copy = *key; // NOLINT(performance-unnecessary-copy-initialization)
            QCOMPARE(copy.bytes(), bytes);
        }
        QCOMPARE(key->bytes(), bytes);
    }

    void randomBytesAreAsManyAsAskedFor()
    {
        for (const qsizetype count : {0, 1, 16, 32, 1'000'000})
            QCOMPARE(randomBytes(count).value_or("?").size(), count);
    }

    void randomBytesAreAllDifferent()
    {
        std::set<QByteArray> drawn;
        for (int i = 0; i < 1000; ++i)
            drawn.insert(randomBytes(16).value_or(QByteArray()));
        QCOMPARE(drawn.size(), 1000U);
    }

    void randomBytesTakeEveryValueAboutAsOften()
    {
        const QByteArray bytes = randomBytes(256'000).value_or(QByteArray());
        for (int value = 0; value < 256; ++value) {
            const auto count = bytes.count(static_cast<char>(value));
            QVERIFY(count > 600 && count < 1400); // 1000 ± 12 standard deviations
        }
    }

    void secretIsTheSameOnlyWhereEveryByteIs_data()
    {
        QTest::addColumn<std::string>("claimed");
        QTest::addColumn<bool>("same");
        QTest::newRow("the secret") << std::string("Bearer abc") << true;
        QTest::newRow("another first byte") << std::string("bearer abc") << false;
        QTest::newRow("another last byte") << std::string("Bearer abd") << false;
        QTest::newRow("its beginning") << std::string("Bearer ab") << false;
        QTest::newRow("more than it") << std::string("Bearer abcd") << false;
        QTest::newRow("a blank behind") << std::string("Bearer abc ") << false;
        QTest::newRow("a zero byte behind") << std::string("Bearer abc\0", 11) << false;
        QTest::newRow("other cases") << std::string("Bearer ABC") << false;
        QTest::newRow("nothing") << std::string() << false;
    }

    void secretIsTheSameOnlyWhereEveryByteIs()
    {
        QFETCH(std::string, claimed);
        QFETCH(bool, same);
        QCOMPARE(isSameSecret(claimed, "Bearer abc"), same);
        QCOMPARE(isSameSecret("Bearer abc", claimed), same);
    }

    void secretsAreComparedBeyondZeroBytes()
    {
        QVERIFY(isSameSecret("", ""));
        QVERIFY(isSameSecret(std::string_view("a\0b", 3), std::string_view("a\0b", 3)));
        QVERIFY(!isSameSecret(std::string_view("a\0b", 3), std::string_view("a\0c", 3)));
    }

private:
    static QByteArray flipped(QByteArray bytes, int bit)
    {
        bytes[bit / 8] = static_cast<char>(bytes[bit / 8] ^ (1 << bit % 8));
        return bytes;
    }

    /// The bytes in memory, read as volatile so that the compiler cannot assume their values.
    static QByteArray seenIn(const std::array<unsigned char, sizeof(SymmetricKey)>& memory)
    {
        QByteArray bytes;
        for (const unsigned char& byte : memory)
            bytes.append(static_cast<char>(*const_cast<const volatile unsigned char*>(&byte)));
        return bytes;
    }
};

QTEST_GUILESS_MAIN(CryptoTest)
#include "CryptoTest.moc"
