#include "WindowSetup.h"

#include "app/Controls.h"
#include "app/Look.h"

#include <QElapsedTimer>
#include <QSignalSpy>
#include <QtTest/QTest>

#include <cmath>

using namespace korvane;

/// What the switch paints, and how it moves.
class CoralSwitchTest : public WindowTest {
    Q_OBJECT

private slots:
    void knobIsTwentyPointsWide()
    {
        CoralSwitch flip(QStringLiteral("Fresh"));
        sized(flip);
        for (const bool on : {false, true}) {
            flip.setCheckedAtOnce(on);
            for (const double pixels : {1.0, 1.5, 2.0}) {
                const QSizeF size = knobOf(flip, pixels).size();
                QCOMPARE(size.width(), size.height());
                QVERIFY(std::abs(size.width() - 20) * pixels < 1.01); // the edge is antialiased
            }
        }
    }

    void knobSitsLeftWhenOffAndRightWhenOn()
    {
        CoralSwitch flip(QStringLiteral("Fresh"));
        sized(flip);
        const double off = restOf(flip, false);
        const double on = restOf(flip, true);
        QCOMPARE(flip.width() - on - 20, 3.0); // 3 points to the end of the track
        QVERIFY(off > labelEnd(flip));
        const QImage picture = pictureOf(flip);
        QCOMPARE(picture.pixelColor(static_cast<int>(off), flip.height() / 2), Look::coral);
    }

    void trackIsCoralWhenOnAndClearWhenOff()
    {
        CoralSwitch flip(QStringLiteral("Fresh"));
        sized(flip);
        flip.setCheckedAtOnce(true);
        QVERIFY(countOf(pictureOf(flip), Look::coral) > 300);
        flip.setCheckedAtOnce(false);
        const QImage off = pictureOf(flip);
        QCOMPARE(countOf(off, Look::coral), 0);
        QCOMPARE(off.pixelColor(flip.width() - 10, flip.height() / 2), QColor(Qt::black));
    }

    void trackIsACapsuleWithAStrokeOfOnePoint()
    {
        CoralSwitch flip(QStringLiteral("Fresh"));
        sized(flip);
        flip.setCheckedAtOnce(false);
        const QImage picture = pictureOf(flip);
        const int x = flip.width() - 23; // the middle of the track
        QVERIFY(picture.pixelColor(x, 0).lightness() > 40);
        QCOMPARE(picture.pixelColor(x + 8, 1), QColor(Qt::black));
        QCOMPARE(picture.pixelColor(flip.width() - 1, 0), QColor(Qt::black)); // the ends are round
        QVERIFY(picture.pixelColor(flip.width() - 1, flip.height() / 2).lightness() > 40);
    }

    void knobSlidesAndComesToRest_data()
    {
        QTest::addColumn<bool>("on");
        QTest::newRow("on") << true;
        QTest::newRow("off") << false;
    }

    void knobSlidesAndComesToRest()
    {
        QFETCH(bool, on);
        CoralSwitch flip(QStringLiteral("Fresh"));
        sized(flip);
        const double end = restOf(flip, on);
        const double start = restOf(flip, !on);
        flip.click();
        QVERIFY(std::abs(knobOf(flip).left() - start) < 2); // it slides from where it was
        QElapsedTimer clock;
        clock.start();
        QTRY_COMPARE(knobOf(flip).left(), end);
        QVERIFY2(clock.elapsed() >= 130, qPrintable(QString::number(clock.elapsed())));
    }

    /// With linear easing, half of the way would take at least 75 ms. The fastest of ten slides
    /// counts, because a busy machine delays some of them.
    void knobIsFastAtFirst()
    {
        CoralSwitch flip(QStringLiteral("Fresh"));
        sized(flip);
        const double middle = (restOf(flip, true) + restOf(flip, false)) / 2;
        qint64 fastest = 1000;
        for (int slide = 0; slide < 10; ++slide) {
            flip.setCheckedAtOnce(false);
            QElapsedTimer clock;
            clock.start();
            flip.click();
            QTRY_VERIFY_WITH_TIMEOUT(flip.isChecked() && knobOf(flip).left() >= middle, 1000);
            fastest = std::min(fastest, clock.elapsed());
        }
        QVERIFY2(fastest < 75, qPrintable(QString::number(fastest)));
        QVERIFY2(fastest > 20, qPrintable(QString::number(fastest)));
    }

    void knobTurnsBackWhereItIs()
    {
        CoralSwitch flip(QStringLiteral("Fresh"));
        sized(flip);
        const double off = restOf(flip, false);
        flip.click();
        QTRY_VERIFY(knobOf(flip).left() > off + 4);
        const double before = knobOf(flip).left();
        flip.click();
        QVERIFY(knobOf(flip).left() <= before + 1);
        QVERIFY(knobOf(flip).left() > off); // it turns back without a jump
        QTRY_COMPARE(knobOf(flip).left(), off);
    }

    void switchFlipsByClickAndBySpace()
    {
        CoralSwitch flip(QStringLiteral("Fresh"));
        sized(flip).show();
        QSignalSpy toggled(&flip, &CoralSwitch::toggled);
        QTest::mouseClick(&flip, Qt::LeftButton, {}, {flip.width() - 20, flip.height() / 2});
        QVERIFY(flip.isChecked());
        QTest::keyClick(&flip, Qt::Key_Space);
        QVERIFY(!flip.isChecked());
        QCOMPARE(toggled.count(), 2);
    }

    void focusCanBeSeen()
    {
        QWidget window;
        CoralSwitch control(QStringLiteral("Fresh"), &window);
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
    }

private:
    static CoralSwitch& sized(CoralSwitch& control)
    {
        control.resize(200, control.sizeHint().height());
        return control;
    }

    /// The bounds of the knob, in points: of all pixels of its colour in the last 46 points, which
    /// hold the track and nothing of the label.
    static QRectF knobOf(CoralSwitch& flip, double pixelsPerPoint = 1)
    {
        const QImage picture = pictureOf(flip, pixelsPerPoint);
        const int left = static_cast<int>(pixelsPerPoint * (flip.width() - 46));
        QRect knob;
        for (int y = 0; y < picture.height(); ++y) {
            for (int x = left; x < picture.width(); ++x) {
                if (isKnob(picture.pixelColor(x, y)))
                    knob |= QRect(x, y, 1, 1);
            }
        }
        return {QPointF(knob.topLeft()) / pixelsPerPoint, QSizeF(knob.size()) / pixelsPerPoint};
    }

    /// True for the knob's cream. Whatever the track is painted with has less blue.
    static bool isKnob(const QColor& colour) { return colour.blue() > 150; }

    /// The left edge of the knob at rest, in points.
    static double restOf(CoralSwitch& flip, bool on)
    {
        flip.setCheckedAtOnce(on);
        return knobOf(flip).left();
    }

    static int labelEnd(const CoralSwitch& flip)
    {
        return flip.fontMetrics().horizontalAdvance(flip.text());
    }
};

QTEST_MAIN(CoralSwitchTest)
#include "CoralSwitchTest.moc"
