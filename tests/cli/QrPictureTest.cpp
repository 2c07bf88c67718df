#include "PaintedCode.h"

#include "cli/TransferOutput.h"
#include "pairing/QrCode.h"
#include "pairing/TransferLink.h"
#include "support/Printing.h"

#include <QtTest/QTest>

#include <algorithm>

using namespace korvane;
using Terminal = PaintedCode::Terminal;

class QrPictureTest : public QObject {
    Q_OBJECT

private slots:
    void codeIsReadInAnyTerminal_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<bool>("lightOnDark");
        const QString link = QString::fromStdString(someLink());
        QTest::newRow("a link, dark on light") << link << false;
        QTest::newRow("a link, light on dark") << link << true;
        QTest::newRow("the smallest code") << QStringLiteral("k") << true;
        QTest::newRow("beyond ASCII") << QStringLiteral("Grüße, 你好") << true;
        QTest::newRow("a large code") << QString(900, u'x') << true;
    }

    void codeIsReadInAnyTerminal()
    {
        QFETCH(QString, text);
        QFETCH(bool, lightOnDark);
        if (!PaintedCode::canRead())
            QSKIP("There is no zbarimg here.");
        const PaintedCode painted(pictureOf(text.toStdString()),
            lightOnDark ? Terminal::LightOnDark : Terminal::DarkOnLight);
        QCOMPARE(painted.read(), text.toStdString());
    }

    void everyLineIsPaintedAndThenReset()
    {
        const std::string picture = pictureOf(someLink());
        const PaintedCode painted(picture, Terminal::LightOnDark);
        QVERIFY(painted.isPaintedThroughout());
        QVERIFY(picture.ends_with("\x1B[0m\n"));
        const auto lines = std::count(picture.begin(), picture.end(), '\n');
        QCOMPARE(static_cast<int>(lines) * 2, painted.height()); // every line is painted
    }

    void paintIsTheSameWhateverTheTerminalsColours()
    {
        const std::string picture = pictureOf(someLink());
        const PaintedCode one(picture, Terminal::LightOnDark);
        const PaintedCode other(picture, Terminal::DarkOnLight);
        QVERIFY(one.width() > 0);
        for (int row = 0; row < one.height(); ++row) {
            for (int column = 0; column < one.width(); ++column)
                QCOMPARE(one.isDark(column, row), other.isDark(column, row));
        }
    }

    void everyModuleIsWhereTheCodeHasIt_data()
    {
        QTest::addColumn<int>("length");
        for (const int length : {1, 40, 125, 400}) // each needs a larger version of the code
            QTest::addRow("%d bytes", length) << length;
    }

    void everyModuleIsWhereTheCodeHasIt()
    {
        QFETCH(int, length);
        const auto code = QrCode::encode(std::string(static_cast<std::size_t>(length), 'x'));
        QVERIFY(code);
        const PaintedCode painted(terminalPicture(*code), Terminal::LightOnDark);
        QCOMPARE(painted.width(), code->side());
        QCOMPARE(painted.height(), code->side() + 1); // odd; a character has two rows
        for (int row = 0; row < painted.height(); ++row) {
            for (int column = 0; column < painted.width(); ++column)
                QCOMPARE(painted.isDark(column, row), code->isDark(column, row));
        }
    }

    void codeStandsOnAWhiteBorderOfFourModules()
    {
        const PaintedCode painted(pictureOf(someLink()), Terminal::LightOnDark);
        constexpr int border = 4;
        const int last = painted.width() - 1;
        QVERIFY(painted.isDark(border, border)); // the corner of a finder pattern
        QVERIFY(painted.isDark(last - border, border));
        QVERIFY(painted.isDark(border, last - border));
        for (int along = 0; along < painted.width(); ++along) {
            for (int across = 0; across < border; ++across) {
                QVERIFY(!painted.isDark(along, across));
                QVERIFY(!painted.isDark(across, along));
                QVERIFY(!painted.isDark(along, last - across));
                QVERIFY(!painted.isDark(last - across, along));
            }
        }
    }

private:
    static std::string someLink()
    {
        const auto key = SymmetricKey::fromBytes(QByteArray(SymmetricKey::size, '\x5A'));
        return TransferLink{"192.168.100.200", 49152, std::string(43, 'T'), *key}.toString();
    }

    static std::string pictureOf(const std::string& text)
    {
        return terminalPicture(QrCode::encode(text).value());
    }
};

QTEST_GUILESS_MAIN(QrPictureTest)
#include "QrPictureTest.moc"
