#include "app/AccessCard.h"

#include "app/Controls.h"
#include "app/Look.h"

#include <QHBoxLayout>
#include <QVBoxLayout>

namespace korvane {

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

} // namespace korvane
