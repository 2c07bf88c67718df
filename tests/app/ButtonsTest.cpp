#include "WindowSetup.h"

#include "app/Controls.h"
#include "app/Look.h"

#include <QtTest/QTest>

#include <cmath>

using namespace korvane;

/// What Pill and Word paint.
class ButtonsTest : public WindowTest {
    Q_OBJECT

private slots:
    void pillIsBlackOnCoral()
    {
        Pill pill(QStringLiteral("Create"));
        const QImage picture = pictureOf(sized(pill), 2);
        QCOMPARE(picture.pixelColor(picture.width() / 2, 6), Look::coral);
        QVERIFY(countOf(picture, Look::coral) > picture.width() * picture.height() / 2);
        const QRect middle(picture.width() / 4, 10, picture.width() / 2, picture.height() - 20);
        QVERIFY(countOf(picture, Qt::black, middle) > 50); // the text
    }

    void pillIsRounded()
    {
        Pill pill(QStringLiteral("Create"));
        const QImage picture = pictureOf(sized(pill));
        for (const QPoint& corner : corners(picture))
            QCOMPARE(picture.pixelColor(corner), QColor(Qt::black)); // the ground behind the pill
        QCOMPARE(picture.pixelColor(1, picture.height() / 2), Look::coral);
    }

    void pillTakesTheWholeWidth()
    {
        const Pill pill(QStringLiteral("Create"));
        QCOMPARE(pill.sizePolicy().horizontalPolicy(), QSizePolicy::Expanding);
        QCOMPARE(pill.font().pixelSize(), 14);
        QCOMPARE(pill.font().weight(), QFont::DemiBold);
    }

    void pillIsFainterDisabledAndPressed()
    {
        Pill pill(QStringLiteral("Create"));
        sized(pill);
        pill.setDown(true);
        QCOMPARE(opacityOf(pill), 0.85);
        pill.setDown(false);
        QCOMPARE(opacityOf(pill), 1.0);
        pill.setEnabled(false);
        QCOMPARE(opacityOf(pill), 0.5);
        pill.setDown(true);
        QCOMPARE(opacityOf(pill), 0.5);
    }

    /// The opacity applies to the pill as a whole. If the text were faded by itself, the coral
    /// below would show through it.
    void fainterPillLetsNothingThroughItsText_data()
    {
        QTest::addColumn<bool>("enabled");
        QTest::newRow("disabled") << false;
        QTest::newRow("pressed") << true;
    }

    void fainterPillLetsNothingThroughItsText()
    {
        QFETCH(bool, enabled);
        Pill pill(QStringLiteral("Create"));
        sized(pill);
        pill.setEnabled(enabled);
        pill.setDown(enabled);
        const QImage picture = pictureOf(pill, 2);
        const QRect middle(picture.width() / 4, 10, picture.width() / 2, picture.height() - 20);
        QVERIFY(countOf(picture, Qt::black, middle) > 50);
    }

    void pressingThePillShows()
    {
        Pill pill(QStringLiteral("Create"));
        sized(pill).show();
        QTest::mousePress(&pill, Qt::LeftButton);
        QCOMPARE(opacityOf(pill), 0.85);
        QTest::mouseRelease(&pill, Qt::LeftButton);
        QCOMPARE(opacityOf(pill), 1.0);
    }

    void wordIsOnlyItsLabel()
    {
        Word word(QStringLiteral("Change"));
        sized(word);
        QCOMPARE(word.font().pixelSize(), 12);
        QCOMPARE(word.font().weight(), QFont::DemiBold);
        const QImage picture = pictureOf(word, 2);
        const int pixels = picture.width() * picture.height();
        QVERIFY(countOf(picture, Qt::black) > pixels / 2); // a word has no fill
        QVERIFY(countOf(picture, Look::cream) > 20);
    }

    void wordIsFainterDisabledAndPressed()
    {
        Word word(QStringLiteral("Change"));
        sized(word);
        const double usual = brightest(word);
        word.setDown(true);
        QCOMPARE(std::round(brightest(word) / usual * 100), 60.0);
        word.setDown(false);
        QCOMPARE(brightest(word), usual);
        word.setEnabled(false);
        QVERIFY(brightest(word) < 0.6 * usual);
    }

    void focusCanBeSeenOnAPill()
    {
        QWidget window;
        Pill control(QStringLiteral("Create"), &window);
        sized(control);
        window.show();
        window.activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(&window));
        window.setAttribute(Qt::WA_KeyboardFocusChange); // focus came by the Tab key
        control.clearFocus();
        const QImage without = pictureOf(control);
        control.setFocus();
        QVERIFY(control.hasFocus());
        QVERIFY(pictureOf(control) != without);
        window.setAttribute(Qt::WA_KeyboardFocusChange, false); // focus came by the mouse
        QVERIFY(pictureOf(control) == without);
    }

    void focusCanBeSeenOnAWord()
    {
        QWidget window;
        Word control(QStringLiteral("Change"), &window);
        sized(control);
        window.show();
        window.activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(&window));
        window.setAttribute(Qt::WA_KeyboardFocusChange); // focus came by the Tab key
        control.clearFocus();
        const QImage without = pictureOf(control);
        control.setFocus();
        QVERIFY(control.hasFocus());
        QVERIFY(pictureOf(control) != without);
        window.setAttribute(Qt::WA_KeyboardFocusChange, false); // focus came by the mouse
        QVERIFY(pictureOf(control) == without);
    }

private:
    template <typename Control>
    static Control& sized(Control& control)
    {
        control.resize(200, control.sizeHint().height());
        return control;
    }

    static std::vector<QPoint> corners(const QImage& picture)
    {
        const QRect area = picture.rect();
        return {area.topLeft(), area.topRight(), area.bottomLeft(), area.bottomRight()};
    }

    /// The opacity of the whole pill, measured over black and rounded to 0.01.
    static double opacityOf(Pill& pill)
    {
        const QImage picture = pictureOf(pill);
        const QColor seen = picture.pixelColor(picture.width() / 2, 3);
        return std::round(100.0 * seen.red() / Look::coral.red()) / 100;
    }

    static double brightest(QWidget& widget)
    {
        const QImage picture = pictureOf(widget, 3);
        int brightest = 0;
        for (int y = 0; y < picture.height(); ++y) {
            for (int x = 0; x < picture.width(); ++x)
                brightest = std::max(brightest, picture.pixelColor(x, y).red());
        }
        return brightest;
    }
};

QTEST_MAIN(ButtonsTest)
#include "ButtonsTest.moc"
