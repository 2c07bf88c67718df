#include "app/Cards.h"

#include "app/Controls.h"
#include "app/Labels.h"
#include "app/Look.h"
#include "state/AppState.h"

#include <QHBoxLayout>
#include <QPainter>
#include <QVBoxLayout>

namespace korvane {

Card::Card(double radius, const QColor& colour, QWidget* parent)
    : QWidget(parent)
    , m_radius(radius)
    , m_colour(colour)
{
}

void Card::paintEvent(QPaintEvent* /*event*/)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(m_colour);
    painter.drawRoundedRect(rect(), m_radius, m_radius);
}

AccessCard::AccessCard(AppState& state, QWidget* parent) : Card(22, Look::card, parent)
{
    setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Maximum);
    auto* why = new Text(tr("Korvane Sync reads the Messages history on this Mac, and macOS keeps "
                            "that behind a switch. Turn on Korvane Sync in System Settings, "
                            "Privacy & Security, Full Disk Access, then come back."),
        Look::font(13), Look::faded(Look::cream, 0.85));
    why->setWordWrap(true);
    auto* open = new Pill(tr("Open System Settings"));
    open->setObjectName(QStringLiteral("openSettings"));
    auto* again = new Word(tr("Try again"));
    again->setObjectName(QStringLiteral("tryAgain"));

    auto* buttons = new QHBoxLayout;
    buttons->setSpacing(16);
    buttons->addWidget(open, 1);
    buttons->addWidget(again);

    constexpr int padding = 16;
    auto* rows = new QVBoxLayout(this);
    rows->setContentsMargins(padding, padding, padding, padding);
    rows->setSpacing(10);
    rows->addWidget(new Text(tr("Full Disk Access"), Look::font(20, QFont::DemiBold), Look::cream));
    rows->addWidget(why);
    rows->addLayout(buttons);

    connect(open, &Pill::clicked, &state, &AppState::openAccessSettings);
    connect(again, &Word::clicked, &state, qOverload<>(&AppState::reloadChats));
}

namespace {

constexpr int codeSide = 240;
constexpr int codePadding = 12;

/// Draws the code without interpolation, so that each pixel is either dark or white and modules
/// have sharp edges.
class CodeView : public QLabel {
public:
    explicit CodeView(const AppState& state) : m_state(state)
    {
        setFixedSize(codeSide, codeSide);
        setObjectName(QStringLiteral("code"));
        setAccessibleName(TransferCard::tr("QR code with the link to this chat"));
        setPixmap(QPixmap(1, 1)); // gives the label the accessible role Graphic
    }

protected:
    void paintEvent(QPaintEvent* /*event*/) override
    {
        if (m_state.transferQR())
            QPainter(this).drawImage(rect(), *m_state.transferQR());
    }

private:
    const AppState& m_state;
};

/// A gap that shrinks if a font's line height leaves too little room, so that the code does not.
QSpacerItem* gap()
{
    return new QSpacerItem(0, 12, QSizePolicy::Minimum, QSizePolicy::Maximum);
}

Text* paragraph(const QString& text, const QFont& font, const QColor& colour)
{
    auto* paragraph = new Text(text, font, colour);
    paragraph->setWordWrap(true);
    paragraph->setAlignment(Qt::AlignHCenter);
    return paragraph;
}

} // namespace

TransferCard::TransferCard(AppState& state, QWidget* parent)
    : Card(22, Look::card, parent)
    , m_state(state)
    , m_title(new OneLine(
          Look::font(18, QFont::DemiBold), Look::cream, Qt::ElideRight, Qt::AlignHCenter))
    , m_done(new Word(tr("Done")))
{
    m_title->setObjectName(QStringLiteral("transferTitle"));
    m_done->setObjectName(QStringLiteral("done"));

    constexpr int padding = 16;
    auto* rows = new QVBoxLayout(this);
    rows->setContentsMargins(padding, padding, padding, padding);
    rows->setSpacing(0);
    rows->addWidget(m_title);
    rows->addItem(gap());
    rows->addWidget(code(), 0, Qt::AlignHCenter);
    rows->addItem(gap());
    rows->addWidget(
        paragraph(tr("Open the Camera on your iPhone and point it here. Both need the "
                     "same Wi-Fi. Korvane shows you the chat before anything is saved."),
            Look::font(13), Look::faded(Look::cream, 0.85)));
    rows->addItem(gap());
    rows->addWidget(paragraph(tr("The code works for 10 minutes. Anyone who scans it in that time "
                                 "can get this one chat."),
        Look::font(11), Look::mute));
    rows->addItem(gap());
    rows->addWidget(m_done, 0, Qt::AlignHCenter);

    connect(m_done, &Word::clicked, &m_state, &AppState::endTransfer);
    connect(&m_state, &AppState::transferChatTitleChanged, this, &TransferCard::updateTitle);
    connect(&m_state, &AppState::transferQRChanged, this, [this] { update(); });
    updateTitle();
}

void TransferCard::takeFocus()
{
    m_done->setFocus(Qt::OtherFocusReason);
}

QWidget* TransferCard::code()
{
    auto* panel = new Card(18, Look::paper);
    auto* inside = new QVBoxLayout(panel);
    inside->setSizeConstraint(QLayout::SetFixedSize);
    inside->setContentsMargins(codePadding, codePadding, codePadding, codePadding);
    inside->addWidget(new CodeView(m_state));
    return panel;
}

void TransferCard::updateTitle()
{
    m_title->setText(QString::fromStdString(m_state.transferChatTitle().value_or("")));
}

} // namespace korvane
