#include "WindowSetup.h"

#include "app/Look.h"

#include <QPainter>
#include <QtTest/QTest>

#include <cmath>

using namespace korvane;

class LookTest : public WindowTest {
    Q_OBJECT

private slots:
    void coloursAreThoseOfThePalette_data()
    {
        QTest::addColumn<QColor>("colour");
        QTest::addColumn<QRgb>("wanted");
        QTest::newRow("canvas") << Look::canvas << of(0, 0, 0);
        QTest::newRow("card") << Look::card << of(0.067, 0.051, 0.059);
        QTest::newRow("raised") << Look::raised << of(0.118, 0.09, 0.106);
        QTest::newRow("cream") << Look::cream << of(0.957, 0.929, 0.886);
        QTest::newRow("mute") << Look::mute << of(0.659, 0.584, 0.608);
        QTest::newRow("coral") << Look::coral << of(0.945, 0.451, 0.369);
        QTest::newRow("hairline") << Look::hairline << of(0.957, 0.929, 0.886, 0.12);
    }

    void coloursAreThoseOfThePalette()
    {
        QFETCH(QColor, colour);
        QFETCH(QRgb, wanted);
        QCOMPARE(colour.spec(), QColor::Rgb);
        QCOMPARE(colour.rgba(), wanted);
    }

    void fadedColourKeepsItsHue()
    {
        QCOMPARE(Look::faded(Look::cream, 0.85).rgba(), of(0.957, 0.929, 0.886, 0.85));
        QCOMPARE(Look::faded(Look::cream, 1).rgba(), Look::cream.rgba());
        QCOMPARE(Look::faded(Look::cream, 0).alpha(), 0);
    }

    void fontIsTheSystemsInTheSizeAndWeightAskedFor()
    {
        const QFont font = Look::font(14, QFont::DemiBold);
        QCOMPARE(font.families(), QApplication::font().families());
        QCOMPARE(font.pixelSize(), 14);
        QCOMPARE(font.weight(), QFont::DemiBold);
        QCOMPARE(Look::font(11).weight(), QFont::Normal);
    }

    void roundedFontFallsBackOnTheSystems()
    {
        const QFont font = Look::roundedFont(24, QFont::DemiBold);
        QCOMPARE(font.pixelSize(), 24);
        QCOMPARE(font.weight(), QFont::DemiBold);
        QVERIFY(font.families().size() > QApplication::font().families().size());
        QCOMPARE(font.families().last(), QApplication::font().families().last());
    }

    void everyDrawingIsThereAtEveryScale_data()
    {
        QTest::addColumn<int>("drawing");
        QTest::addColumn<double>("pixelsPerPoint");
        const std::pair<const char*, Drawing> drawings[]
            = {{"guide", Drawing::Guide}, {"menu-bar guide", Drawing::MenuBarGuide},
                {"magnifying glass", Drawing::MagnifyingGlass}, {"folder", Drawing::Folder},
                {"two persons", Drawing::TwoPersons}, {"speech bubble", Drawing::SpeechBubble}};
        for (const auto& [name, drawing] : drawings) {
            for (const double pixels : {1.0, 1.5, 2.0, 3.0})
                QTest::addRow("%s at %g", name, pixels) << static_cast<int>(drawing) << pixels;
        }
    }

    void everyDrawingIsThereAtEveryScale()
    {
        QFETCH(int, drawing);
        QFETCH(double, pixelsPerPoint);
        constexpr int height = 52;
        const QPixmap picture = Look::image(static_cast<Drawing>(drawing), height, pixelsPerPoint);
        QCOMPARE(picture.height(), std::lround(height * pixelsPerPoint));
        QCOMPARE(picture.devicePixelRatio(), pixelsPerPoint);
        const QRect drawn = inked(picture.toImage());
        QVERIFY(drawn.width() > picture.width() / 2); // it fills most of its frame
        QVERIFY(drawn.height() > picture.height() / 2);
        QVERIFY(!touchesTheEdge(drawn, picture)); // not cut off
    }

    void drawingKeepsItsProportions()
    {
        const QSize persons = Look::image(Drawing::TwoPersons, 48, 1).size();
        QCOMPARE(persons, QSize(60, 48));
        QCOMPARE(Look::image(Drawing::Guide, 52, 2).size(), QSize(104, 104));
    }

    void guideHasItsOwnColours()
    {
        const QImage guide = Look::image(Drawing::Guide, 52, 2).toImage();
        QSet<QRgb> colours;
        for (int y = 0; y < guide.height(); ++y) {
            for (int x = 0; x < guide.width(); ++x)
                colours.insert(guide.pixel(x, y));
        }
        QVERIFY(colours.size() > 20);
    }

    void menuBarIconIsEighteenPointsHighAndAMask()
    {
        const QIcon icon = Look::menuBarIcon();
        QVERIFY(icon.isMask());
        const QSize natural = Look::image(Drawing::MenuBarGuide, 36, 1).size();
        for (const int pixels : {1, 2, 3}) {
            const QSize size(natural.width() * 18 * pixels / natural.height(), 18 * pixels);
            QVERIFY(icon.availableSizes().contains(size));
        }
        QCOMPARE(icon.actualSize({18, 18}).height(), 18);
    }

    void menuBarIconIsTheGuidesOutline()
    {
        const QImage icon = Look::menuBarIcon().pixmap(QSize(18, 18), 1).toImage();
        const auto wanted = Look::image(Drawing::MenuBarGuide, 18, 1).toImage();
        QCOMPARE(icon.convertToFormat(QImage::Format_ARGB32),
            wanted.convertToFormat(QImage::Format_ARGB32));
    }

    void menuBarGuideIsOfOneColour()
    {
        const QImage guide = Look::image(Drawing::MenuBarGuide, 18, 3).toImage();
        for (int y = 0; y < guide.height(); ++y) {
            for (int x = 0; x < guide.width(); ++x)
                QCOMPARE(guide.pixel(x, y) & 0xFFFFFF, QRgb(0)); // black; only alpha varies
        }
    }

    void symbolTakesTheColourAndKeepsItsShape_data() { everyDrawingIsThereAtEveryScale_data(); }
    void symbolTakesTheColourAndKeepsItsShape()
    {
        QFETCH(int, drawing);
        QFETCH(double, pixelsPerPoint);
        const auto which = static_cast<Drawing>(drawing);
        const auto plain = Look::image(which, 14, pixelsPerPoint).toImage();
        const auto tinted = Look::symbol(which, 14, pixelsPerPoint, Look::mute).toImage();
        QCOMPARE(tinted.size(), plain.size());
        for (int y = 0; y < plain.height(); ++y) {
            for (int x = 0; x < plain.width(); ++x) {
                QCOMPARE(qAlpha(tinted.pixel(x, y)), qAlpha(plain.pixel(x, y)));
                if (qAlpha(plain.pixel(x, y)) == 255)
                    QCOMPARE(tinted.pixel(x, y), Look::mute.rgba());
            }
        }
    }

    void symbolsOfSeveralColoursAreKeptApart()
    {
        const auto coral = Look::symbol(Drawing::Folder, 14, 2, Look::coral).toImage();
        const auto mute = Look::symbol(Drawing::Folder, 14, 2, Look::mute).toImage();
        QVERIFY(coral != mute);
        QCOMPARE(Look::symbol(Drawing::Folder, 14, 2, Look::coral).toImage(), coral);
        QCOMPARE(Look::symbol(Drawing::Folder, 20, 2, Look::coral).height(), 40);
    }

private:
    using Drawing = Look::Drawing;

    /// A colour from fractions (0 to 1), with 8 bits per channel.
    static QRgb of(double red, double green, double blue, double opacity = 1)
    {
        const auto byte = [](double part) { return static_cast<int>(std::lround(255 * part)); };
        return qRgba(byte(red), byte(green), byte(blue), byte(opacity));
    }

    /// The smallest rectangle around everything that is not transparent.
    static QRect inked(const QImage& image)
    {
        QRect found;
        for (int y = 0; y < image.height(); ++y) {
            for (int x = 0; x < image.width(); ++x) {
                if (qAlpha(image.pixel(x, y)) > 0)
                    found |= QRect(x, y, 1, 1);
            }
        }
        return found;
    }

    static bool touchesTheEdge(const QRect& drawn, const QPixmap& picture)
    {
        return !picture.rect().adjusted(1, 1, -1, -1).contains(drawn);
    }
};

QTEST_MAIN(LookTest)
#include "LookTest.moc"
