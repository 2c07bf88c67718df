#include "ReadBack.h"

#include "pairing/QrCode.h"
#include "pairing/QrImage.h"
#include "support/Printing.h"

#include <cmath>
#include <limits>

using namespace korvane;

/// The image of a QR code: decoded by another program, and compared pixel by pixel.
class QrImageTest : public QObject {
    Q_OBJECT

private slots:
    void everyPictureIsReadBack_data()
    {
        QTest::addColumn<std::string>("text");
        QTest::addColumn<double>("size");
        QTest::addColumn<double>("pixelsPerPoint");
        for (const double pixelsPerPoint : {1.0, 1.25, 1.5, 2.0, 3.0}) {
            for (const double size : {20.0, 57.0, 58.0, 100.0, 113.0, 114.0, 171.5, 320.0})
                addRow("a link", link(), size, pixelsPerPoint);
            addRow("one letter", "a", 320, pixelsPerPoint);
            addRow("the longest text", std::string(2331, 'x'), 555, pixelsPerPoint);
        }
        addRow("a link", link(), 1000, 1);
        addRow("digits", "0123456789", 320, 1);
        addRow("capitals", "HTTP://EXAMPLE.COM", 320, 1);
        addRow("UTF-8", "Gr\u00FC\u00DFe \u4E09 \U0001F600", 320, 1);
        addRow("every sign of a link", "korvane://h?a=%41&b=-._~+/*,;:@!$'()#", 320, 1);
        addRow("white space", " a\tb\r\nc ", 320, 1);
        addRow("any byte", std::string("a\0\xFF\x80z", 5), 320, 1);
        addRow("the longest text, one pixel a module", std::string(2331, 'x'), 185, 1);
    }

    void everyPictureIsReadBack()
    {
        QFETCH(std::string, text);
        QFETCH(double, size);
        QFETCH(double, pixelsPerPoint);
        const auto image = QR::image(text, size, pixelsPerPoint);
        QVERIFY(image);
        QCOMPARE(readBack(largeEnough(*image, sideOf(text))), Text(text));
    }

    void pictureIsAsWideAsAsked_data() { everyPictureIsReadBack_data(); }
    void pictureIsAsWideAsAsked()
    {
        QFETCH(std::string, text);
        QFETCH(double, size);
        QFETCH(double, pixelsPerPoint);
        const auto image = QR::image(text, size, pixelsPerPoint);
        QVERIFY(image);
        QCOMPARE(image->height(), image->width());
        QCOMPARE(image->width() / image->devicePixelRatio(), size);
        QCOMPARE(image->width(),
            std::max(static_cast<int>(std::lround(size * pixelsPerPoint)), sideOf(text)));
    }

    void everyModuleTakesTheSamePixels_data() { everyPictureIsReadBack_data(); }
    void everyModuleTakesTheSamePixels()
    {
        QFETCH(std::string, text);
        QFETCH(double, size);
        QFETCH(double, pixelsPerPoint);
        const auto image = QR::image(text, size, pixelsPerPoint);
        const auto code = QrCode::encode(text);
        QVERIFY(image && code);
        const int modules = code->side() - 8;
        const QRect black = blackIn(*image);
        QCOMPARE(black.width() % modules, 0);
        QCOMPARE(black.height(), black.width());
        const int pixels = black.width() / modules;
        QCOMPARE(pixels, image->width() / code->side()); // the largest scale that fits
        QCOMPARE(wrongPixels(*image, *code, black.topLeft(), pixels), 0);
    }

    void borderIsAtLeastFourModulesWide_data() { everyPictureIsReadBack_data(); }
    void borderIsAtLeastFourModulesWide()
    {
        QFETCH(std::string, text);
        QFETCH(double, size);
        QFETCH(double, pixelsPerPoint);
        const auto image = QR::image(text, size, pixelsPerPoint);
        QVERIFY(image);
        const QRect black = blackIn(*image);
        const int four = 4 * black.width() / (sideOf(text) - 8);
        const QMargins border(black.left(), black.top(), image->width() - 1 - black.right(),
            image->height() - 1 - black.bottom());
        QVERIFY(border.left() >= four && border.top() >= four);
        QVERIFY(border.right() >= four && border.bottom() >= four);
        QVERIFY(std::abs(border.left() - border.right()) <= 1); // centred
        QVERIFY(std::abs(border.top() - border.bottom()) <= 1);
    }

    void pictureHasOnePixelAPointUnlessToldOtherwise()
    {
        const auto image = QR::image("hello", 320);
        QVERIFY(image);
        QCOMPARE(image->width(), 320);
        QCOMPARE(image->devicePixelRatio(), 1.0);
        QCOMPARE(readBack(*image), Text("hello"));
    }

    void emptyTextHasAPicture()
    {
        const auto image = QR::image("", 320);
        QVERIFY(image);
        QCOMPARE(image->width(), 320);
        QCOMPARE(readBack(*image), Text(""));
    }

    void textThatIsTooLongIsNothing()
    {
        for (const char letter : {'x', '1'}) {
            const auto image = QR::image(std::string(2331, letter), 1000);
            QVERIFY(image);
            QCOMPARE(readBack(*image), Text(std::string(2331, letter)));
            QVERIFY(!QR::image(std::string(2332, letter), 1000));
        }
        QVERIFY(!QR::image(std::string(1'000'000, 'x'), 1000));
    }

    void letterOfThreeBytesCountsThrice()
    {
        std::string text;
        for (int i = 0; i < 777; ++i)
            text += "\u4E09";
        const auto image = QR::image(text, 1000);
        QVERIFY(image);
        QCOMPARE(readBack(*image), Text(text));
        QVERIFY(!QR::image(text + "a", 1000));
    }

    void sizeThatCannotBeIsNothing_data()
    {
        QTest::addColumn<double>("size");
        QTest::addColumn<double>("pixelsPerPoint");
        constexpr double infinity = std::numeric_limits<double>::infinity();
        constexpr double nan = std::numeric_limits<double>::quiet_NaN();
        QTest::newRow("zero") << 0.0 << 1.0;
        QTest::newRow("minus zero") << -0.0 << 1.0;
        QTest::newRow("negative") << -320.0 << 1.0;
        QTest::newRow("not a number") << nan << 1.0;
        QTest::newRow("infinite") << infinity << 1.0;
        QTest::newRow("negative and infinite") << -infinity << 1.0;
        QTest::newRow("huge") << 1e9 << 1.0;
        QTest::newRow("beyond every integer") << 1e300 << 1.0;
        QTest::newRow("huge by its pixels") << 1000.0 << 1000.0;
        QTest::newRow("no pixels") << 320.0 << 0.0;
        QTest::newRow("negative pixels") << 320.0 << -2.0;
        QTest::newRow("pixels that are not a number") << 320.0 << nan;
        QTest::newRow("infinite pixels") << 320.0 << infinity;
        QTest::newRow("infinitely many pixels that are not there") << infinity << 0.0;
        QTest::newRow("both negative") << -320.0 << -1.0;
    }

    void sizeThatCannotBeIsNothing()
    {
        QFETCH(double, size);
        QFETCH(double, pixelsPerPoint);
        QVERIFY(!QR::image("hello", size, pixelsPerPoint));
    }

private:
    using Text = std::optional<std::string>;

    static void addRow(const char* what, const std::string& text, double size, double ratio)
    {
        QTest::addRow("%s, %g points, %g pixels a point", what, size, ratio)
            << text << size << ratio;
    }

    static std::string link()
    {
        return "korvane://mac-import?host=192.168.1.20&port=49152&ticket=" + std::string(43, 'T')
            + "&key=" + std::string(43, 'k');
    }

    static int sideOf(const std::string& text) { return QrCode::encode(text)->side(); }

    /// Scales an image by four if it has one pixel per module, which is too small for the reader.
    static QImage largeEnough(const QImage& image, int side)
    {
        return image.width() < 2 * side ? image.scaled(4 * image.size()) : image;
    }

    /// The bounding rectangle of all pixels that are not white.
    static QRect blackIn(const QImage& image)
    {
        QRect found;
        for (int y = 0; y < image.height(); ++y) {
            for (int x = 0; x < image.width(); ++x) {
                if (image.pixel(x, y) != qRgb(255, 255, 255))
                    found |= QRect(x, y, 1, 1);
            }
        }
        return found;
    }

    /// The number of pixels that are not black in a dark module or not white elsewhere.
    static int wrongPixels(
        const QImage& image, const QrCode& code, const QPoint& topLeft, int pixels)
    {
        int wrong = 0;
        for (int y = 0; y < image.height(); ++y) {
            for (int x = 0; x < image.width(); ++x) {
                // Shift by the quiet zone of four modules, so that no dividend is negative.
                const int column = (x - topLeft.x() + 4 * pixels) / pixels;
                const int row = (y - topLeft.y() + 4 * pixels) / pixels;
                const bool dark = code.isDark(column, row);
                wrong += image.pixel(x, y) != (dark ? qRgb(0, 0, 0) : qRgb(255, 255, 255));
            }
        }
        return wrong;
    }
};

QTEST_GUILESS_MAIN(QrImageTest)
#include "QrImageTest.moc"
