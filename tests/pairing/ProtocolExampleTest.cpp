#include "pairing/TransferLink.h"
#include "storage/Files.h"
#include "support/Printing.h"
#include "support/SealedByOthers.h"

#include <QRegularExpression>
#include <QtTest/QTest>

using namespace korvane;

/// Checks the worked example in docs/protocol.md, which client authors rely on.
class ProtocolExampleTest : public QObject {
    Q_OBJECT

private slots:
    void linkHoldsTargetAndKey()
    {
        const auto link = TransferLink::fromString(entry("link").toStdString());
        QVERIFY(link);
        QCOMPARE(link->target(), entry("target").toStdString());
        QCOMPARE(link->key.bytes(), bytes("key"));
        QCOMPARE(link->toString(), entry("link").toStdString());
    }

    void sealedBodyOpensWithTheLinksKey()
    {
        const auto link = TransferLink::fromString(entry("link").toStdString());
        QVERIFY(link);
        const QByteArray sealed = bytes("nonce") + bytes("ciphertext") + bytes("tag");
        QCOMPARE(link->key.open(sealed, link->target()), std::optional(bytes("text")));
        QCOMPARE(bytes("text"), QByteArray("{\"body\":\"Grüße\"}\n"));
    }

    void anotherLibrarySealsTheSame()
    {
        const QByteArray sealed = SealedByOthers::seal(
            bytes("key"), bytes("nonce"), bytes("text"), entry("target").toStdString());
        QCOMPARE(sealed, bytes("nonce") + bytes("ciphertext") + bytes("tag"));
    }

private:
    /// The value after `name` in the example.
    static QString entry(const char* name)
    {
        const auto page = Files::read(PROTOCOL_PAGE);
        const QRegularExpression line(QStringLiteral("^    %1 +(\\S+)$").arg(QLatin1String(name)),
            QRegularExpression::MultilineOption);
        return line.match(QString::fromStdString(page.value_or(""))).captured(1);
    }

    static QByteArray bytes(const char* name)
    {
        return QByteArray::fromHex(entry(name).toLatin1());
    }
};

QTEST_GUILESS_MAIN(ProtocolExampleTest)
#include "ProtocolExampleTest.moc"
