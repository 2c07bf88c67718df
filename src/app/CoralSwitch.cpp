#include "app/CoralSwitch.h"

#include "app/Buttons.h"
#include "app/FocusRing.h"
#include "app/Look.h"

#include <QEasingCurve>
#include <QKeyEvent>
#include <QPainter>

namespace korvane {

namespace {

constexpr double knobSize = 20;
constexpr double knobMargin = 3;
constexpr double trackWidth = 46;
constexpr double trackHeight = knobSize + 2 * knobMargin;

/// CSS "ease-out", cubic-bezier(0, 0, 0.58, 1): starts fast, slows to a stop.
QEasingCurve easeOut()
{
    QEasingCurve curve(QEasingCurve::BezierSpline);
    curve.addCubicBezierSegment({0, 0}, {0.58, 1}, {1, 1});
    return curve;
}

} // namespace

CoralSwitch::CoralSwitch(const QString& text, QWidget* parent) : QAbstractButton(parent)
{
    prepareButton(*this, text, Look::font(12));
    setCheckable(true);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    m_slide.setDuration(150);
    m_slide.setEasingCurve(easeOut());
    connect(&m_slide, &QVariantAnimation::valueChanged, this, [this](const QVariant& position) {
        m_position = position.toDouble();
        update();
    });
    connect(this, &QAbstractButton::toggled, this, &CoralSwitch::slide);
}

void CoralSwitch::setCheckedAtOnce(bool on)
{
    setChecked(on);
    m_slide.stop();
    m_position = on ? 1 : 0;
    update();
}

void CoralSwitch::slide(bool on)
{
    m_slide.stop();
    m_slide.setStartValue(m_position);
    m_slide.setEndValue(on ? 1.0 : 0.0);
    m_slide.start();
}

QSize CoralSwitch::sizeHint() const
{
    constexpr int spacing = 8;
    return {fontMetrics().horizontalAdvance(text()) + spacing + static_cast<int>(trackWidth),
        static_cast<int>(trackHeight)};
}

/// Leaves Return to the window's default action. With some desktops' themes, QAbstractButton would
/// take it as a click.
void CoralSwitch::keyPressEvent(QKeyEvent* event)
{
    if (isReturn(*event))
        event->ignore();
    else
        QAbstractButton::keyPressEvent(event);
}

void CoralSwitch::paintEvent(QPaintEvent* /*event*/)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Look::cream);
    painter.drawText(rect(), Qt::AlignLeft | Qt::AlignVCenter, text());

    const QRectF track(width() - trackWidth, (height() - trackHeight) / 2, trackWidth, trackHeight);
    constexpr double radius = trackHeight / 2;
    painter.setPen(QPen(Look::faded(Look::cream, 0.35), 1));
    painter.setBrush(Look::faded(Look::coral, m_position));
    painter.drawRoundedRect(track.adjusted(0.5, 0.5, -0.5, -0.5), radius, radius);

    const double travel = trackWidth - knobSize - 2 * knobMargin;
    painter.setPen(Qt::NoPen);
    painter.setBrush(Look::cream);
    painter.drawEllipse(QRectF(track.left() + knobMargin + travel * m_position,
        track.top() + knobMargin, knobSize, knobSize));
    if (showsFocus(*this))
        drawFocus(painter, track, radius);
}

} // namespace korvane
