#include "app/Header.h"

#include "app/Look.h"

#include <QHBoxLayout>
#include <QVBoxLayout>

namespace korvane {

namespace {

constexpr int guideSize = 52;

QWidget* guide()
{
    return new Picture({guideSize, guideSize}, [](double pixelsPerPoint) {
        return Look::image(Look::Drawing::Guide, guideSize, pixelsPerPoint);
    });
}

} // namespace

Header::Header(const AppState& state, QWidget* parent)
    : QWidget(parent)
    , m_state(state)
    , m_subtitle(new Text({}, Look::font(12), Look::mute))
{
    setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);
    m_subtitle->setObjectName(QStringLiteral("subtitle"));
    auto* texts = new QVBoxLayout;
    texts->setSpacing(2);
    texts->addStretch();
    texts->addWidget(
        new Text(tr("Korvane Sync"), Look::roundedFont(24, QFont::DemiBold), Look::cream));
    texts->addWidget(m_subtitle);
    texts->addStretch();

    auto* row = new QHBoxLayout(this);
    row->setContentsMargins({});
    row->setSpacing(12);
    row->addWidget(guide());
    row->addLayout(texts, 1);

    connect(&m_state, &AppState::needsAccessChanged, this, &Header::updateSubtitle);
    connect(&m_state, &AppState::transferQRChanged, this, &Header::updateSubtitle);
    updateSubtitle();
}

void Header::updateSubtitle()
{
    if (m_state.needsAccess())
        m_subtitle->setText(tr("Needs a key to your Messages."));
    else if (m_state.transferQR())
        m_subtitle->setText(tr("Point your iPhone at the code."));
    else
        m_subtitle->setText(tr("Pick one chat, send it to your iPhone."));
}

} // namespace korvane
