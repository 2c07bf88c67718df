#include "pairing/Crypto.h"

#include "support/OnlyDescriptors.h"

#include <QFile>
#include <QtTest/QTest>

using namespace korvane;

/// When the cryptographic library comes into the process. Once it is there it stays, so the order
/// of these counts.
class LibraryLoadingTest : public QObject {
    Q_OBJECT

    static bool isLoaded()
    {
        QFile maps(QStringLiteral("/proc/self/maps"));
        return maps.open(QIODevice::ReadOnly) && maps.readAll().contains("libcrypto");
    }

private slots:
    void secretsCanBeKeptComparedAndWipedWithoutIt()
    {
        {
            const auto key = SymmetricKey::fromBytes(QByteArray(SymmetricKey::size, 'k'));
            const auto other = SymmetricKey::fromBytes(QByteArray(SymmetricKey::size, 'o'));
            QVERIFY(*key == *key);
            QVERIFY(*key != *other);
        }
        QVERIFY(isSameSecret("secret", "secret"));
        QVERIFY(!isSameSecret("secret", "secreT"));
        QVERIFY(!isLoaded());
    }

    void withoutADescriptorForItEverythingFails()
    {
        const auto key = SymmetricKey::fromBytes(QByteArray(SymmetricKey::size, 'k'));
        const OnlyDescriptors none(0);
        QVERIFY(none.works());
        QVERIFY(!randomBytes(16));
        QVERIFY(!SymmetricKey::make());
        QVERIFY(!key->seal(Envelope("text"), "context"));
        QVERIFY(!key->open(QByteArray(40, 's'), "context"));
        QVERIFY(key->decryptUnverified(QByteArray(40, 's'), 8).size() <= 8);
        QVERIFY(!isLoaded());
    }

    void itIsTriedAgain()
    {
        const auto key = SymmetricKey::make();
        QVERIFY(key);
        QVERIFY(isLoaded());
        const auto sealed = key->seal(Envelope("text"), "context");
        QVERIFY(sealed);
        QCOMPARE(key->open(*sealed, "context"), QByteArray("text"));
    }
};

QTEST_GUILESS_MAIN(LibraryLoadingTest)
#include "LibraryLoadingTest.moc"
