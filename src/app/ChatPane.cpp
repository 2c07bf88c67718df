#include "app/ChatPane.h"

#include "app/Cards.h"
#include "app/ChatListView.h"
#include "app/Controls.h"
#include "app/Labels.h"
#include "app/Look.h"
#include "state/AppState.h"

#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLineEdit>
#include <QStackedLayout>
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

Text* placeholder()
{
    auto* text = new Text({}, Look::font(13), Look::mute);
    text->setObjectName(QStringLiteral("nothing"));
    text->setAlignment(Qt::AlignCenter);
    text->setWordWrap(true);
    text->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Ignored); // fills the list's area
    return text;
}

/// The query for display, cut to 60 UTF-16 code units.
QString shortened(const QString& query)
{
    constexpr int longest = 60;
    return query.size() <= longest ? query : query.left(longest) + QStringLiteral("…");
}

} // namespace

ChatPane::ChatPane(AppState& state, QWidget* parent)
    : QWidget(parent)
    , m_state(state)
    , m_model(state)
    , m_search(searchField())
    , m_list(new ChatListView)
    , m_emptyText(placeholder())
    , m_stack(new QStackedLayout)
    , m_button(new Pill({}))
{
    m_search->installEventFilter(this);
    m_filter.setSourceModel(&m_model);
    m_list->setObjectName(QStringLiteral("chats"));
    m_list->setModel(&m_filter);
    m_button->setObjectName(QStringLiteral("create"));

    auto* rows = new QVBoxLayout(this);
    rows->setContentsMargins({});
    rows->setSpacing(spacing);
    rows->addWidget(searchRow());
    rows->addLayout(m_stack, 1);
    m_stack->addWidget(m_list);
    m_stack->addWidget(m_emptyText);
    rows->addWidget(m_button);

    connect(m_search, &QLineEdit::textChanged, &m_filter, &ChatFilter::setQuery);
    connect(m_search, &QLineEdit::textChanged, this, &ChatPane::updateList);
    connect(&m_filter, &QAbstractItemModel::modelReset, this, &ChatPane::updateList);
    connect(&m_filter, &QAbstractItemModel::dataChanged, this, &ChatPane::updateList);
    connect(m_button, &Pill::clicked, &m_state, &AppState::prepareTransfer);
    connect(&m_state, &AppState::selectedChanged, this, &ChatPane::updateButton);
    updateButton();
    updateList();
}

QWidget* ChatPane::searchRow()
{
    constexpr int height = 36;
    constexpr int padding = 12;
    constexpr QSize symbolSize(14, 14);
    auto* row = new Card(10, Look::raised);
    row->setFixedHeight(height);
    auto* content = new QHBoxLayout(row);
    content->setContentsMargins(padding, 0, padding, 0);
    content->setSpacing(8);
    content->addWidget(new Picture(symbolSize, [=](double pixelsPerPoint) {
        return Look::symbol(
            Look::Drawing::MagnifyingGlass, symbolSize.height(), pixelsPerPoint, Look::mute);
    }));
    content->addWidget(m_search);
    return row;
}

/// The down key in the search field moves focus to the list.
bool ChatPane::eventFilter(QObject* watched, QEvent* event)
{
    const bool isDown = watched == m_search && event->type() == QEvent::KeyPress
        && static_cast<QKeyEvent*>(event)->key() == Qt::Key_Down;
    if (isDown)
        m_list->focusTopmostRow();
    return isDown || QWidget::eventFilter(watched, event);
}

void ChatPane::focusSearch()
{
    m_search->setFocus(Qt::ActiveWindowFocusReason);
}

void ChatPane::pressButton()
{
    m_button->click(); // does nothing while it is disabled
}

void ChatPane::updateList()
{
    if (!m_state.hasReadChats()) {
        m_emptyText->clear();
    } else if (m_state.chats().empty()) {
        m_emptyText->setText(
            tr("No chats yet. When Messages on this Mac has some, quit Korvane Sync "
               "and start it again."));
    } else {
        m_emptyText->setText(tr("No chat matches “%1”.").arg(shortened(m_filter.query())));
    }
    const bool isEmpty = m_state.hasReadChats() && m_filter.rowCount() == 0;
    if (isEmpty)
        m_list->doItemsLayout(); // a hidden list would keep its former scroll range
    m_stack->setCurrentWidget(isEmpty ? static_cast<QWidget*>(m_emptyText) : m_list);
}

void ChatPane::updateButton()
{
    const bool one = m_state.selected().size() == 1;
    m_button->setText(one ? tr("Create Korvane QR") : tr("Pick one chat"));
    m_button->setEnabled(one);
}

} // namespace korvane
