#include "messages/DBError.h"
#include "sample/SampleFile.h"
#include "support/Printing.h"

#include <QFile>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QtTest/QTest>

#include <memory>
#include <set>

namespace korvane {

namespace {

constexpr SampleSize usualSize{.messages = 0, .chats = 400, .seed = 3};

/// What a number or address is recognised by: its last ten digits, or itself in lower case.
QString keyOf(const QString& address)
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

/// The address book that goes with a sample database.
class SampleContactsTest : public QObject {
    Q_OBJECT

private slots:
    void init();
    void writesWellFormedCards();
    void namesTwoThirdsOfTheHandles();
    void givesTheSameBytesWhateverTheMessages();
    void givesOtherPeopleForAnotherSeed();
    void knowsSomebodyEvenWithoutChats();
    void leavesAFileThatExistsUntouched();

private:
    QByteArray cards(const SampleSize& size);

    std::unique_ptr<QTemporaryDir> m_folder;
};

void SampleContactsTest::init()
{
    m_folder = std::make_unique<QTemporaryDir>();
}

QByteArray SampleContactsTest::cards(const SampleSize& size)
{
    QFile file(m_folder->filePath(QStringLiteral("people.vcf")));
    file.remove();
    writeSampleContacts(file.fileName().toStdString(), size);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

void SampleContactsTest::writesWellFormedCards()
{
    const QString text = QString::fromUtf8(cards(usualSize));
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
    QVERIFY(found.size() > usualSize.chats / 2);
}

void SampleContactsTest::namesTwoThirdsOfTheHandles()
{
    std::set<QString> known;
    for (const QString& line : QString::fromUtf8(cards(usualSize)).split(QStringLiteral("\r\n")))
        if (line.startsWith(QStringLiteral("TEL")) || line.startsWith(QStringLiteral("EMAIL")))
            QVERIFY2(known.insert(keyOf(valueOf(line))).second, qPrintable(line));
    SampleFile sample(usualSize);
    Sqlite::Statement handles = sample.query("SELECT id FROM handle");
    int all = 0;
    int named = 0;
    while (handles.step()) {
        const std::string handle(handles.text(0).value_or(""));
        named += known.contains(keyOf(QString::fromStdString(handle))) ? 1 : 0;
        ++all;
    }
    QVERIFY2(named * 100 > all * 60 && named * 100 < all * 73, qPrintable(QString::number(named)));
}

void SampleContactsTest::givesTheSameBytesWhateverTheMessages()
{
    SampleSize larger = usualSize;
    larger.messages = 1'000'000;
    QCOMPARE(cards(larger), cards(usualSize));
}

void SampleContactsTest::givesOtherPeopleForAnotherSeed()
{
    SampleSize other = usualSize;
    other.seed = 4;
    QVERIFY(cards(other) != cards(usualSize));
}

void SampleContactsTest::knowsSomebodyEvenWithoutChats()
{
    QVERIFY(cards({.messages = 0, .chats = 0}).startsWith("BEGIN:VCARD\r\n"));
}

void SampleContactsTest::leavesAFileThatExistsUntouched()
{
    QFile mine(m_folder->filePath(QStringLiteral("mine.vcf")));
    QVERIFY(mine.open(QIODevice::WriteOnly));
    mine.write("precious");
    mine.close();
    QVERIFY_THROWS_EXCEPTION(
        DBError, writeSampleContacts(mine.fileName().toStdString(), usualSize));
    QVERIFY(mine.open(QIODevice::ReadOnly));
    QCOMPARE(mine.readAll(), QByteArray("precious"));
}

} // namespace korvane

QTEST_APPLESS_MAIN(korvane::SampleContactsTest)
#include "SampleContactsTest.moc"
