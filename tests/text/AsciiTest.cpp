#include "text/Ascii.h"

#include "support/Printing.h"

namespace korvane {

/// Locale-independent functions for ASCII characters.
class AsciiTest : public QObject {
    Q_OBJECT

private slots:
    void trimsOnlyTheCharactersNamed_data()
    {
        QTest::addColumn<std::string>("text");
        QTest::addColumn<std::string>("expected");

        QTest::newRow("nothing") << std::string() << std::string();
        QTest::newRow("nothing to trim") << std::string("a b") << std::string("a b");
        QTest::newRow("both ends") << std::string(" \ta b\t ") << std::string("a b");
        QTest::newRow("a line break") << std::string(" a\n ") << std::string("a\n");
        QTest::newRow("blanks only") << std::string(" \t ") << std::string();
    }

    void trimsOnlyTheCharactersNamed()
    {
        QFETCH(std::string, text);
        QFETCH(std::string, expected);
        QCOMPARE(std::string(trimmed(text, " \t")), expected);
    }

    void lowersOnlyCapitalLettersOfAscii()
    {
        QCOMPARE(lowered(std::string_view("AZ[@az 09 \u00C4")), std::string("az[@az 09 \u00C4"));
    }

    void comparesWithoutRegardToCase()
    {
        QVERIFY(equalIgnoringCase("Begin:VCARD", "BEGIN:vcard"));
        QVERIFY(!equalIgnoringCase("BEGIN", "BEGIN:"));
        QVERIFY(!equalIgnoringCase("@", "`"));
    }
};

} // namespace korvane

QTEST_GUILESS_MAIN(korvane::AsciiTest)
#include "AsciiTest.moc"
