#include "messages/Sqlite.h"
#include "sample/TemporarySample.h"
#include "support/Printing.h"

#include <QFile>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QtTest/QTest>

#include <memory>
#include <set>

namespace korvane {

namespace {

constexpr SampleSize testSize{.messages = 0, .chats = 400, .seed = 3};

/// The part of a handle that identifies it in either spelling: the last ten digits of a phone
/// number, or an e-mail address in lower case.
QString normalized(const QString& address)
{
    if (address.contains(u'@'))
        return address.toLower();
    QString digits;
    for (const QChar character : address)
        if (character.isDigit())
            digits += character;
    return digits.right(10);
}

QString valueOf(const QString& line)
{
    return line.mid(line.indexOf(u':') + 1);
}

} // namespace

/// The contents of the address book that writeSampleContacts() writes.
class SampleContactsTest : public QObject {
    Q_OBJECT

private slots:
    void init() { m_folder = std::make_unique<QTemporaryDir>(); }

    void writesWellFormedCards()
    {
        const QString text = QString::fromUtf8(cards(testSize));
        QVERIFY(text.endsWith(QStringLiteral("END:VCARD\r\n")));
        QVERIFY(text.contains(QStringLiteral("ORG:Dr. Vogel\\, Praxis\r\n")));
        static const QRegularExpression wellFormed(
            QStringLiteral("^VERSION:3\\.0\r\nFN:[^\r\n]+\r\nN:[^;\r\n]*;[^;\r\n]*;;;\r\n"
                           "(ORG:[^\r\n]+\r\n)?(TEL;TYPE=CELL:[-+(). \\d]+\r\n)?"
                           "(EMAIL;TYPE=INTERNET:[^@\r\n]+@[^@\r\n]+\r\n)?END:VCARD\r\n$"));
        const QStringList found = text.split(QStringLiteral("BEGIN:VCARD\r\n"), Qt::SkipEmptyParts);
        for (const QString& card : found) {
            QVERIFY2(wellFormed.match(card).hasMatch(), qPrintable(card));
            QVERIFY(card.contains(QStringLiteral("TEL")) || card.contains(QStringLiteral("EMAIL")));
            for (const QString& line : card.split(QStringLiteral("\r\n")))
                QVERIFY(line.toUtf8().size() <= 75);
        }
        QVERIFY(found.size() > testSize.chats / 2);
    }

    void coversTwoThirdsOfTheHandles()
    {
        std::set<QString> inCards;
        for (const QString& line : QString::fromUtf8(cards(testSize)).split(QStringLiteral("\r\n")))
            if (line.startsWith(QStringLiteral("TEL")) || line.startsWith(QStringLiteral("EMAIL")))
                QVERIFY2(inCards.insert(normalized(valueOf(line))).second, qPrintable(line));
        TemporarySample sample(testSize);
        Sqlite::Statement handles = sample.query("SELECT id FROM handle");
        int count = 0;
        int covered = 0;
        while (handles.step()) {
            const std::string handle(handles.text(0).value_or(""));
            covered += inCards.contains(normalized(QString::fromStdString(handle))) ? 1 : 0;
            ++count;
        }
        QVERIFY2(covered * 100 > count * 60 && covered * 100 < count * 73,
            qPrintable(QString::number(covered)));
    }

    void numberOfMessagesMakesNoDifference()
    {
        SampleSize larger = testSize;
        larger.messages = 1'000'000;
        QCOMPARE(cards(larger), cards(testSize));
    }

    void differentSeedGivesDifferentPeople()
    {
        SampleSize other = testSize;
        other.seed = 4;
        QVERIFY(cards(other) != cards(testSize));
    }

    void containsCardsEvenWithoutChats()
    {
        QVERIFY(cards({.messages = 0, .chats = 0}).startsWith("BEGIN:VCARD\r\n"));
    }

    void existingFileIsNotOverwritten()
    {
        QFile file(m_folder->filePath(QStringLiteral("existing.vcf")));
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write("existing content");
        file.close();
        QVERIFY_THROWS_EXCEPTION(
            DBError, writeSampleContacts(file.fileName().toStdString(), testSize));
        QVERIFY(file.open(QIODevice::ReadOnly));
        QCOMPARE(file.readAll(), QByteArray("existing content"));
    }

private:
    QByteArray cards(const SampleSize& size)
    {
        QFile file(m_folder->filePath(QStringLiteral("people.vcf")));
        file.remove();
        writeSampleContacts(file.fileName().toStdString(), size);
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }

    std::unique_ptr<QTemporaryDir> m_folder;
};

} // namespace korvane

QTEST_APPLESS_MAIN(korvane::SampleContactsTest)
#include "SampleContactsTest.moc"
