#include "cli/Console.h"
#include "text/TerminalText.h"

#include "support/Printing.h"

#include <QtTest/QTest>

using namespace korvane;

class TableTest : public QObject {
    Q_OBJECT

private slots:
    void widthsAreThoseOfATerminal_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<int>("width");
        QTest::newRow("nothing") << QString() << 0;
        QTest::newRow("plain letters") << QStringLiteral("hello") << 5;
        QTest::newRow("accent as a letter of its own") << QStringLiteral("e\u0301") << 1;
        QTest::newRow("Japanese") << QStringLiteral("日本") << 4;
        QTest::newRow("party popper") << QStringLiteral("🎉") << 2;
        QTest::newRow("hand with a skin tone") << QStringLiteral("👋🏽") << 2;
        QTest::newRow("family of three") << QStringLiteral("👩‍👩‍👧") << 2;
        QTest::newRow("flag") << QStringLiteral("🇩🇪") << 2;
    }

    void widthsAreThoseOfATerminal()
    {
        QFETCH(QString, text);
        QFETCH(int, width);
        QCOMPARE(displayWidth(text.toStdString()), width);
    }

    void longCellsAreCutWithAnEllipsis_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("cut");
        QTest::newRow("short enough") << QStringLiteral("12345") << QStringLiteral("12345");
        QTest::newRow("one too long") << QStringLiteral("123456") << QStringLiteral("1234…");
        QTest::newRow("wide letters") << QStringLiteral("日本語") << QStringLiteral("日本…");
        QTest::newRow("wide letter over the edge")
            << QStringLiteral("a日本語") << QStringLiteral("a日…");
    }

    void longCellsAreCutWithAnEllipsis()
    {
        QFETCH(QString, text);
        QFETCH(QString, cut);
        QCOMPARE(fitted(text.toStdString(), 5), cut.toStdString());
    }

    void columnsAreAlignedTwoBlanksApart()
    {
        Table table({{"NAME"}, {"COUNT", Table::Align::Right}, {"LAST"}});
        table.add({"日本", "7", "x"});
        table.add({"a", "123456", ""});
        QCOMPARE(table.text(),
            std::string("NAME   COUNT  LAST\n"
                        "日本       7  x\n"
                        "a     123456\n"));
    }

    void controlCharactersAreMadeHarmless()
    {
        QCOMPARE(
            printable("a\x1B[2J\nb\u202Ec\u2028d"), std::string("a\uFFFD[2J\uFFFDb\uFFFDc\uFFFDd"));
        QCOMPARE(printable("👩‍👩‍👧"), std::string("👩‍👩‍👧"));
    }
};

QTEST_GUILESS_MAIN(TableTest)
#include "TableTest.moc"
