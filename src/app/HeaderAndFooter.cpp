#include "app/HeaderAndFooter.h"

#include "app/Controls.h"
#include "app/Labels.h"
#include "app/Look.h"
#include "state/AppState.h"

#include <QDir>
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

namespace {

constexpr int rowSpacing = 8;
constexpr int wordSpacing = 16;

Word* word(const QString& text, const char* name)
{
    auto* word = new Word(text);
    word->setObjectName(QLatin1String(name));
    return word;
}

} // namespace

Footer::Footer(AppState& state, QWidget* parent)
    : QWidget(parent)
    , m_state(state)
    , m_folder(new OneLine(Look::font(11), Look::mute, Qt::ElideMiddle))
    , m_autoSync(new CoralSwitch(tr("Keep the export fresh every 30 seconds")))
    , m_status(new Paragraph(Look::font(11), Look::mute))
{
    m_folder->setObjectName(QStringLiteral("folder"));
    m_autoSync->setObjectName(QStringLiteral("autoSync"));
    m_status->setObjectName(QStringLiteral("status"));
    m_autoSync->setCheckedAtOnce(m_state.autoSync());

    auto* rows = new QVBoxLayout(this);
    rows->setContentsMargins({});
    rows->setSpacing(rowSpacing);
    rows->addLayout(folderRow());
    rows->addWidget(m_autoSync);
    rows->addLayout(statusRow());

    connect(m_autoSync, &CoralSwitch::toggled, &m_state, &AppState::setAutoSync);
    connect(&m_state, &AppState::autoSyncChanged, this,
        [this] { m_autoSync->setChecked(m_state.autoSync()); });
    connect(&m_state, &AppState::outputFolderChanged, this, &Footer::updateFolder);
    connect(&m_state, &AppState::statusChanged, this, &Footer::updateStatus);
    connect(&m_state, &AppState::transferQRChanged, this, &Footer::limitStatus);
    updateFolder();
    updateStatus();
    limitStatus();
}

QLayout* Footer::folderRow()
{
    constexpr QSize symbolSize(14, 14);
    auto* change = word(tr("Change"), "change");
    change->leaveReturnToWindow();
    connect(change, &Word::clicked, &m_state, &AppState::chooseFolder);
    auto* row = new QHBoxLayout;
    row->setSpacing(rowSpacing);
    row->addWidget(new Picture(symbolSize, [=](double pixelsPerPoint) {
        return Look::symbol(Look::Drawing::Folder, symbolSize.height(), pixelsPerPoint, Look::mute);
    }));
    row->addWidget(m_folder, 1);
    row->addWidget(change);
    return row;
}

QLayout* Footer::statusRow()
{
    auto* sync = word(tr("Sync now"), "syncNow");
    auto* quit = word(tr("Quit"), "quit");
    connect(sync, &Word::clicked, &m_state, qOverload<>(&AppState::syncNow));
    connect(quit, &Word::clicked, this, &Footer::quitRequested);
    auto* row = new QHBoxLayout;
    row->setSpacing(rowSpacing);
    row->addWidget(m_status, 1);
    row->addWidget(sync);
    row->addSpacing(wordSpacing - rowSpacing);
    row->addWidget(quit);
    return row;
}

void Footer::updateFolder()
{
    m_folder->setText(
        abbreviatedPath(QString::fromStdString(m_state.outputFolder().native()), QDir::homePath()));
}

void Footer::updateStatus()
{
    m_status->setText(QString::fromStdString(m_state.status()));
}

/// Allows fewer lines beside the QR code: the list can shrink for a long status, the card hardly.
void Footer::limitStatus()
{
    constexpr int linesBesideCode = 2;
    constexpr int linesBesideList = 4;
    m_status->setMaximumLines(m_state.transferQR() ? linesBesideCode : linesBesideList);
}

QString abbreviatedPath(const QString& folder, const QString& home)
{
    if (folder != home && !folder.startsWith(home + QLatin1Char('/')))
        return folder;
    return QLatin1Char('~') + folder.mid(home.size());
}

} // namespace korvane
