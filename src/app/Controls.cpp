#include "app/Controls.h"

#include "app/Look.h"

#include <QAbstractScrollArea>
#include <QApplication>
#include <QEasingCurve>
#include <QKeyEvent>
#include <QPainter>

#include <algorithm>
#include <array>

namespace korvane {

namespace {

/// True for keys that move focus or activate something. Letters are typed into the search field,
/// and a modifier alone may belong to a shortcut of the desktop.
bool isNavigationOrActionKey(const QEvent& event)
{
    constexpr std::array keys{Qt::Key_Tab, Qt::Key_Backtab, Qt::Key_Up, Qt::Key_Down, Qt::Key_Left,
        Qt::Key_Right, Qt::Key_Home, Qt::Key_End, Qt::Key_PageUp, Qt::Key_PageDown, Qt::Key_Space,
        Qt::Key_Return, Qt::Key_Enter};
    const int key = static_cast<const QKeyEvent&>(event).key();
    return std::find(keys.begin(), keys.end(), key) != keys.end();
}

} // namespace

bool showsFocus(const QWidget& widget)
{
    return widget.hasFocus() && widget.window()->testAttribute(Qt::WA_KeyboardFocusChange);
}

void drawFocus(QPainter& painter, const QRectF& around, double radius)
{
    constexpr double focusWidth = 1.5;
    constexpr double inset = focusWidth / 2;
    painter.setPen(QPen(Look::faded(Look::cream, 0.8), focusWidth));
    painter.setBrush(Qt::NoBrush);
    painter.drawRoundedRect(around.adjusted(inset, inset, -inset, -inset), radius, radius);
}

FocusVisibility::FocusVisibility(QWidget& window) : m_window(window)
{
    QCoreApplication::instance()->installEventFilter(this); // runs before widgets' handlers
}

void FocusVisibility::hide()
{
    setVisible(false);
}

bool FocusVisibility::eventFilter(QObject* watched, QEvent* event)
{
    const bool isKey = event->type() == QEvent::KeyPress;
    if (!isKey && event->type() != QEvent::MouseButtonPress)
        return false;
    const auto* widget = qobject_cast<QWidget*>(watched);
    if (widget && widget->window() == &m_window && (!isKey || isNavigationOrActionKey(*event)))
        setVisible(isKey);
    return false;
}

void FocusVisibility::setVisible(bool visible)
{
    if (m_window.testAttribute(Qt::WA_KeyboardFocusChange) == visible)
        return;
    m_window.setAttribute(Qt::WA_KeyboardFocusChange, visible);
    QWidget* focused = m_window.focusWidget();
    if (auto* area = qobject_cast<QAbstractScrollArea*>(focused))
        focused = area->viewport();
    if (focused)
        focused->update();
}

void prepareButton(QAbstractButton& button, const QString& text, const QFont& font)
{
    button.setText(text);
    button.setFont(font);
    button.setFocusPolicy(Qt::StrongFocus);
    button.setCursor(Qt::PointingHandCursor);
}

bool isReturn(const QKeyEvent& event)
{
    return event.key() == Qt::Key_Return || event.key() == Qt::Key_Enter;
}

bool clickOnReturn(QAbstractButton& button, const QKeyEvent& event)
{
    if (!isReturn(event))
        return false;
    if (!event.isAutoRepeat())
        button.click();
    return true;
}

Pill::Pill(const QString& text, QWidget* parent) : QAbstractButton(parent)
{
    prepareButton(*this, text, Look::font(14, QFont::DemiBold));
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
}

QSize Pill::sizeHint() const
{
    constexpr int height = 40;
    constexpr int padding = 20;
    return {fontMetrics().horizontalAdvance(text()) + 2 * padding, height};
}

void Pill::keyPressEvent(QKeyEvent* event)
{
    if (!clickOnReturn(*this, *event))
        QAbstractButton::keyPressEvent(event);
}

void Pill::paintEvent(QPaintEvent* /*event*/)
{
    constexpr double disabled = 0.5;
    constexpr double pressed = 0.85;
    QPainter painter(this);
    painter.setOpacity(!isEnabled() ? disabled : isDown() ? pressed : 1.0);
    // Opacity must apply to the finished picture: parts drawn one by one would blend.
    painter.drawPixmap(0, 0, picture(painter.deviceTransform().m11()));
}

QPixmap Pill::picture(double pixelsPerPoint) const
{
    QPixmap pixels((QSizeF(size()) * pixelsPerPoint).toSize());
    pixels.setDevicePixelRatio(pixelsPerPoint);
    pixels.fill(Qt::transparent);
    QPainter painter(&pixels);
    painter.setRenderHint(QPainter::Antialiasing);
    const QRectF area = rect();
    painter.setPen(Qt::NoPen);
    painter.setBrush(Look::coral);
    painter.drawRoundedRect(area, area.height() / 2, area.height() / 2);
    painter.setPen(Qt::black);
    painter.setFont(font());
    painter.drawText(area, Qt::AlignCenter, text());
    if (showsFocus(*this))
        drawFocus(painter, area.adjusted(2, 2, -2, -2), area.height() / 2 - 2);
    return pixels;
}

Word::Word(const QString& text, QWidget* parent) : QAbstractButton(parent)
{
    prepareButton(*this, text, Look::font(12, QFont::DemiBold));
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
}

QSize Word::sizeHint() const
{
    constexpr QSize roomForLine(0, 6);
    return QSize(fontMetrics().horizontalAdvance(text()), fontMetrics().height()) + roomForLine;
}

void Word::leaveReturnToWindow()
{
    m_leavesReturn = true;
}

void Word::keyPressEvent(QKeyEvent* event)
{
    if (m_leavesReturn && isReturn(*event))
        event->ignore();
    else if (!clickOnReturn(*this, *event))
        QAbstractButton::keyPressEvent(event);
}

void Word::paintEvent(QPaintEvent* /*event*/)
{
    constexpr double disabled = 0.4;
    constexpr double pressed = 0.6;
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setOpacity(!isEnabled() ? disabled : isDown() ? pressed : 1.0);
    painter.setPen(Look::cream);
    painter.drawText(rect(), Qt::AlignCenter, text());
    if (showsFocus(*this))
        painter.fillRect(QRectF(0, height() - 2, width(), 2), Look::coral);
}

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
