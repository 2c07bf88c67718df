#include "app/ContentView.h"

#include "app/AccessCard.h"
#include "app/Footer.h"
#include "app/Header.h"
#include "app/Look.h"

#include <QKeyEvent>
#include <QPainter>
#include <QVBoxLayout>

namespace korvane {

namespace {

constexpr int padding = 18;
constexpr int spacing = 14;
constexpr int windowWidth = 400;
constexpr int usualHeight = 600;
constexpr int heightWithCode = 660;

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

} // namespace

ContentView::ContentView(AppState& state, QWidget* parent)
    : QWidget(parent)
    , m_state(state)
    , m_accessCard(new AccessCard(state))
    , m_transferCard(new TransferCard(state))
    , m_chatPane(new ChatPane(state))
    , m_focus(*this)
{
    setPalette(darkColours());
    auto* footer = new Footer(state);
    auto* rows = new QVBoxLayout(this);
    rows->setContentsMargins(padding, padding, padding, padding);
    rows->setSpacing(spacing);
    rows->addWidget(new Header(state));
    rows->addWidget(m_accessCard);
    rows->addWidget(m_transferCard);
    rows->addWidget(m_chatPane, 1);
    rows->addStretch();
    rows->addWidget(footer);

    connect(footer, &Footer::quitRequested, this, &ContentView::quitRequested);
    connect(&m_state, &AppState::needsAccessChanged, this, &ContentView::showWhatIsCalledFor);
    connect(&m_state, &AppState::transferQRChanged, this, &ContentView::showWhatIsCalledFor);
    showWhatIsCalledFor();
}

void ContentView::showWhatIsCalledFor()
{
    const bool access = m_state.needsAccess();
    const bool transfer = !access && m_state.transferQR().has_value();
    m_accessCard->setVisible(access);
    m_transferCard->setVisible(transfer);
    m_chatPane->setVisible(!access && !transfer);
    setFixedSize(windowWidth, transfer ? heightWithCode : usualHeight);
    if (isVisible())
        takeFocus(); // what had the keyboard may be out of sight
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
    QPainter(this).fillRect(event->rect(), Look::canvas);
}

void ContentView::showEvent(QShowEvent* event)
{
    m_focus.hide();
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
