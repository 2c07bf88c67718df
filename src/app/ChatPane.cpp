#include "app/ChatPane.h"

#include "app/Look.h"
#include "app/Pieces.h"

#include <QHBoxLayout>
#include <QVBoxLayout>

namespace korvane {

namespace {

constexpr int spacing = 12;

QLineEdit* searchField()
{
    auto* field = new QLineEdit;
    field->setObjectName(QStringLiteral("search"));
    field->setFrame(false);
    field->setFont(Look::font(13));
    field->setPlaceholderText(ChatPane::tr("Find a chat"));
    field->setAccessibleName(ChatPane::tr("Find a chat"));
    QPalette colours = field->palette();
    colours.setColor(QPalette::Base, Qt::transparent);
    colours.setColor(QPalette::Text, Look::cream);
    colours.setColor(QPalette::PlaceholderText, Look::mute);
    field->setPalette(colours);
    return field;
}

} // namespace

ChatPane::ChatPane(AppState& state, QWidget* parent)
    : QWidget(parent)
    , m_state(state)
    , m_model(state)
    , m_search(searchField())
    , m_list(new ChatListView)
    , m_button(new Pill({}))
{
    m_filter.setSourceModel(&m_model);
    m_list->setObjectName(QStringLiteral("chats"));
    m_list->setModel(&m_filter);
    m_button->setObjectName(QStringLiteral("create"));

    auto* rows = new QVBoxLayout(this);
    rows->setContentsMargins({});
    rows->setSpacing(spacing);
    rows->addWidget(searchRow());
    rows->addWidget(m_list, 1);
    rows->addWidget(m_button);

    connect(m_search, &QLineEdit::textChanged, &m_filter, &ChatFilter::setQuery);
    connect(m_button, &Pill::clicked, &m_state, &AppState::prepareTransfer);
    connect(&m_state, &AppState::selectedChanged, this, &ChatPane::updateButton);
    updateButton();
}

QWidget* ChatPane::searchRow()
{
    constexpr int height = 36;
    constexpr int padding = 12;
    constexpr QSize symbolSize(14, 14);
    auto* row = new Card(10, Look::raised);
    row->setFixedHeight(height);
    auto* pieces = new QHBoxLayout(row);
    pieces->setContentsMargins(padding, 0, padding, 0);
    pieces->setSpacing(8);
    pieces->addWidget(new Picture(symbolSize, [=](double pixelsPerPoint) {
        return Look::symbol(
            Look::Drawing::MagnifyingGlass, symbolSize.height(), pixelsPerPoint, Look::mute);
    }));
    pieces->addWidget(m_search);
    return row;
}

void ChatPane::focusSearch()
{
    m_search->setFocus(Qt::ActiveWindowFocusReason);
}

void ChatPane::pressButton()
{
    m_button->click(); // does nothing while it is disabled
}

void ChatPane::updateButton()
{
    const bool one = m_state.selected().size() == 1;
    m_button->setText(one ? tr("Create Korvane QR") : tr("Pick one chat"));
    m_button->setEnabled(one);
}

} // namespace korvane
