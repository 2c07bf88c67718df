#include "app/ContentView.h"

#include "app/Cards.h"
#include "app/ChatPane.h"
#include "app/HeaderAndFooter.h"
#include "app/Look.h"
#include "state/AppState.h"

#include <QAccessibleWidget>
#include <QKeyEvent>
#include <QPainter>
#include <QScreen>
#include <QScrollArea>
#include <QScrollBar>
#include <QVBoxLayout>

#include <algorithm>

namespace korvane {

/// The area between header and footer, which shows one of several widgets at a time. A widget that
/// needs more height than there is, as on a low screen, scrolls. Main thread only.
class Middle : public QScrollArea {
public:
    explicit Middle(QWidget* parent = nullptr);

    /// Adds a piece, hides it, and takes ownership of it. It must have a layout. With a stretch
    /// above 0 it fills the available height.
    void add(QWidget* piece, int stretch = 0);

    /// Shows a piece, scrolled to its top, and hides the others.
    void showOnly(QWidget* piece);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    void arrange();
    int heightNeeded() const;

    QVBoxLayout* m_pieces;
    QWidget* m_shown = nullptr;
};

Middle::Middle(QWidget* parent) : QScrollArea(parent), m_pieces(new QVBoxLayout)
{
    setObjectName(QStringLiteral("middle"));
    setFrameShape(QFrame::NoFrame);
    setFocusPolicy(Qt::NoFocus);
    setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    auto* content = new QWidget;
    content->setLayout(m_pieces);
    m_pieces->setContentsMargins({});
    m_pieces->setSpacing(0);
    m_pieces->addStretch();
    setWidget(content);
}

void Middle::add(QWidget* piece, int stretch)
{
    m_pieces->insertWidget(m_pieces->count() - 1, piece, stretch); // the stretch stays last
    piece->hide();
}

void Middle::showOnly(QWidget* piece)
{
    for (int i = 0; i < m_pieces->count(); ++i) {
        if (QWidget* each = m_pieces->itemAt(i)->widget())
            each->setVisible(each == piece);
    }
    m_shown = piece;
    arrange();
    verticalScrollBar()->setValue(0);
}

bool Middle::eventFilter(QObject* watched, QEvent* event)
{
    if (watched == widget() && event->type() == QEvent::LayoutRequest)
        arrange();
    return QScrollArea::eventFilter(watched, event);
}

void Middle::resizeEvent(QResizeEvent* event)
{
    arrange();
    QScrollArea::resizeEvent(event);
}

/// Sizes the content here, because QScrollArea would scroll a piece that has less than its
/// preferred height. Here it shrinks to its minimum height first, and scrolls only below that.
void Middle::arrange()
{
    if (m_shown)
        widget()->resize(viewport()->width(), std::max(viewport()->height(), heightNeeded()));
}

int Middle::heightNeeded() const
{
    QLayout* layout = m_shown->layout();
    return layout->hasHeightForWidth() ? layout->totalMinimumHeightForWidth(viewport()->width())
                                       : layout->totalMinimumSize().height();
}

namespace {

constexpr int padding = 18;
constexpr int spacing = 14;
constexpr int windowWidth = 400;
constexpr int usualHeight = 600;
constexpr int heightWithCode = 660;
constexpr int leastHeight = 240; ///< even if the screen has less room

QPalette darkColours()
{
    QPalette colours;
    colours.setColor(QPalette::Window, Look::canvas);
    colours.setColor(QPalette::WindowText, Look::cream);
    colours.setColor(QPalette::Text, Look::cream);
    colours.setColor(QPalette::Highlight, Look::coral);
    colours.setColor(QPalette::HighlightedText, Qt::black);
    return colours;
}

/// Gives the window the accessible role Window. Qt's default for a QWidget is Client.
QAccessibleInterface* accessibleWindow(const QString& /*className*/, QObject* object)
{
    auto* window = qobject_cast<ContentView*>(object);
    return window ? new QAccessibleWidget(window, QAccessible::Window) : nullptr;
}

} // namespace

ContentView::ContentView(AppState& state, QWidget* parent)
    : QWidget(parent)
    , m_state(state)
    , m_middle(new Middle)
    , m_accessCard(new AccessCard(state))
    , m_transferCard(new TransferCard(state))
    , m_chatPane(new ChatPane(state))
    , m_focus(*this)
{
    // Installing the same factory again has no effect. Must come first: the calls below may make
    // Qt create the accessible interface of this window.
    QAccessible::installFactory(accessibleWindow);
    setPalette(darkColours());
    setAccessibleName(tr("Korvane Sync"));
    auto* footer = new Footer(state);
    m_middle->add(m_accessCard);
    m_middle->add(m_transferCard);
    m_middle->add(m_chatPane, 1);
    auto* rows = new QVBoxLayout(this);
    rows->setContentsMargins(padding, padding, padding, padding);
    rows->setSpacing(spacing);
    rows->addWidget(new Header(state));
    rows->addWidget(m_middle, 1);
    rows->addWidget(footer);

    connect(footer, &Footer::quitRequested, this, &ContentView::quitRequested);
    connect(&m_state, &AppState::needsAccessChanged, this, &ContentView::updateMiddle);
    connect(&m_state, &AppState::transferQRChanged, this, &ContentView::updateMiddle);
    updateMiddle();
}

void ContentView::updateMiddle()
{
    const bool access = m_state.needsAccess();
    const bool transfer = !access && m_state.transferQR().has_value();
    if (access)
        m_middle->showOnly(m_accessCard);
    else
        m_middle->showOnly(transfer ? static_cast<QWidget*>(m_transferCard) : m_chatPane);
    fitToScreen();
    if (isVisible())
        takeFocus(); // the widget that had focus may be hidden now
}

/// Sets the window's fixed size: its usual height, or the screen's if that is lower.
void ContentView::fitToScreen()
{
    const bool transfer = !m_state.needsAccess() && m_state.transferQR().has_value();
    int height = transfer ? heightWithCode : usualHeight;
    if (isVisible()) { // a snapshot is not shown on any screen
        const int frame = frameGeometry().height() - this->height();
        const int room = screen()->availableGeometry().height() - frame;
        height = std::clamp(room, leastHeight, height);
    }
    setFixedSize(windowWidth, height);
}

void ContentView::takeFocus()
{
    if (m_chatPane->isVisible())
        m_chatPane->focusSearch();
    else if (m_transferCard->isVisible())
        m_transferCard->takeFocus();
    else
        setFocus(Qt::ActiveWindowFocusReason);
}

void ContentView::paintEvent(QPaintEvent* event)
{
    QPainter painter(this);
    painter.fillRect(event->rect(), Look::canvas);
    if (!windowFlags().testFlag(Qt::FramelessWindowHint))
        return; // the window manager draws the frame
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(Look::hairline, 1));
    painter.drawRect(QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5));
}

/// A move can be to another screen, or show that the window manager added its frame. Either
/// changes the available height.
void ContentView::moveEvent(QMoveEvent* event)
{
    QWidget::moveEvent(event);
    fitToScreen();
}

void ContentView::showEvent(QShowEvent* event)
{
    m_focus.hide();
    fitToScreen();
    QWidget::showEvent(event);
}

void ContentView::keyPressEvent(QKeyEvent* event)
{
    if (event->key() == Qt::Key_Escape)
        emit closeRequested();
    else if (isReturn(*event) && !event->isAutoRepeat() && m_chatPane->isVisible())
        m_chatPane->pressButton();
    else
        QWidget::keyPressEvent(event);
}

} // namespace korvane
