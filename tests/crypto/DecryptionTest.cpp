#include "crypto/Decryption.h"

#include "support/Printing.h"

#include <QByteArray>

using namespace korvane;

/// Published test vectors: the RFCs that define the algorithms, and NIST SP 800-38A.
class DecryptionTest : public QObject {
    Q_OBJECT

    static std::string hex(const char* digits) { return QByteArray::fromHex(digits).toStdString(); }

    static std::string text(const std::optional<Secret>& secret)
    {
        return secret ? QByteArray::fromStdString(std::string(secret->view())).toHex().toStdString()
                      : "nothing";
    }

private slots:
    void passwordGivesTheKeyOfThePublishedVectors_data()
    {
        QTest::addColumn<bool>("isSha256");
        QTest::addColumn<quint32>("iterations");
        QTest::addColumn<QByteArray>("beginning");
        QTest::newRow("SHA-1, once (RFC 6070)")
            << false << 1U << QByteArray("0c60c80f961f0e71f3a9b524af6012062fe037a6");
        QTest::newRow("SHA-1, 4096 times (RFC 6070)")
            << false << 4096U << QByteArray("4b007901b765489abead49d926f721d065a429c1");
        QTest::newRow("SHA-256, once")
            << true << 1U
            << QByteArray("120fb6cffcf8b32c43e7225256c4f837a86548c92ccc35480805987cb70be17b");
        QTest::newRow("SHA-256, 4096 times")
            << true << 4096U
            << QByteArray("c5e478d59288c841aa530db6845c4c8d962893a001ce4e11a4963873aa98134a");
    }

    void passwordGivesTheKeyOfThePublishedVectors()
    {
        QFETCH(const bool, isSha256);
        QFETCH(const quint32, iterations);
        QFETCH(const QByteArray, beginning);
        const auto key = deriveKey(isSha256 ? Digest::Sha256 : Digest::Sha1,
            Secret(std::string_view("password")), "salt", iterations);
        QVERIFY(key);
        QCOMPARE(key->size(), std::size_t(32));
        QCOMPARE(text(key).substr(0, static_cast<std::size_t>(beginning.size())),
            beginning.toStdString());
    }

    void keyWithoutIterationsIsRefused()
    {
        QVERIFY(!deriveKey(Digest::Sha1, Secret(std::string_view("password")), "salt", 0));
        QVERIFY(
            !deriveKey(Digest::Sha1, Secret(std::string_view("password")), "salt", 0x80000000U));
    }

    void wrappedKeyOfTheRfcIsUnwrapped() // RFC 3394, 4.6
    {
        QCOMPARE(text(unwrapKey(wrappingKey(), wrapped())),
            std::string("00112233445566778899aabbccddeeff000102030405060708090a0b0c0d0e0f"));
    }

    void alteredKeyIsNotUnwrapped()
    {
        for (std::size_t i = 0; i < wrapped().size(); ++i) {
            std::string altered = wrapped();
            altered[i] = static_cast<char>(altered[i] ^ 1);
            QVERIFY(!unwrapKey(wrappingKey(), altered));
        }
    }

    void keyOfAnotherSizeIsNotUnwrapped()
    {
        QVERIFY(!unwrapKey(wrappingKey(), wrapped().substr(8)));
        QVERIFY(!unwrapKey(wrappingKey(), ""));
        QVERIFY(!unwrapKey(Secret(std::size_t(16)), wrapped()));
    }

    void blocksAreChained()
    {
        const Secret key(hex("603deb1015ca71be2b73aef0857d77811f352c073b6108d72d9810a30914dff4"));
        const std::string first = hex("f3eed1bdb5d2a03c064b5a7e3db181f8"); // F.1.5, ECB-AES256
        const std::string second = hex("591ccb10d410ed26dc5ba74a31362870");
        std::string bytes = first + second;
        CbcDecryption cipher(key);
        QVERIFY(cipher);
        QVERIFY(cipher.decryptInPlace(std::span(bytes).first(16)));
        QVERIFY(cipher.decryptInPlace(std::span(bytes).last(16)));

        std::string expected = hex("ae2d8a571e03ac9c9eb76fac45af8e51");
        for (std::size_t i = 0; i < expected.size(); ++i)
            expected[i] = static_cast<char>(expected[i] ^ first[i]);
        QCOMPARE(bytes, hex("6bc1bee22e409f96e93d7e117393172a") + expected);
    }

    void partOfABlockIsRefused()
    {
        CbcDecryption cipher{Secret(std::size_t(32))};
        std::string bytes(31, 'x');
        QVERIFY(!cipher.decryptInPlace(bytes));
        QCOMPARE(bytes, std::string(31, 'x'));
    }

    void keyOfAnotherSizeDoesNotDecrypt()
    {
        QVERIFY(!CbcDecryption(Secret(std::size_t(16))));
        QVERIFY(!CbcDecryption(Secret()));
    }

private:
    static Secret wrappingKey()
    {
        return Secret(hex("000102030405060708090A0B0C0D0E0F101112131415161718191A1B1C1D1E1F"));
    }

    static std::string wrapped()
    {
        return hex("28C9F404C4B810F4CBCCB35CFB87F8263F5786E2D80ED326"
                   "CBC7F0E71A99F43BFB988B9B7A02DD21");
    }
};

QTEST_GUILESS_MAIN(DecryptionTest)
#include "DecryptionTest.moc"
