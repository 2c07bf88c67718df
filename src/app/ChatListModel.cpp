#include "app/ChatListModel.h"

#include "state/AppState.h"

#include <QDateTime>
#include <QLocale>

#include <algorithm>
#include <utility>

namespace korvane {

ChatListModel::ChatListModel(AppState& state, QObject* parent)
    : QAbstractListModel(parent)
    , m_state(state)
{
    reload();
    connect(&state, &AppState::chatsChanged, this, &ChatListModel::reload);
    connect(&state, &AppState::selectedChanged, this, &ChatListModel::onSelectedChanged);
}

int ChatListModel::rowCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : static_cast<int>(m_rows.size());
}

QVariant ChatListModel::data(const QModelIndex& index, int role) const
{
    if (!index.isValid())
        return {};
    const Row& row = m_rows.at(static_cast<std::size_t>(index.row()));
    switch (role) {
    case Qt::DisplayRole:
        return row.title;
    case Qt::CheckStateRole:
        return row.isChecked ? Qt::Checked : Qt::Unchecked;
    case Qt::AccessibleTextRole:
        return QString(row.title + (row.isGroup ? tr(", group, ") : tr(", ")) + row.subtitle);
    // Qt does not tell AT-SPI that a row is checkable, so an unchecked row says so in words.
    case Qt::AccessibleDescriptionRole:
        return row.isChecked ? QString() : tr("not selected");
    case SubtitleRole:
        return row.subtitle;
    case IsGroupRole:
        return row.isGroup;
    case GuidRole:
        return QString::fromStdString(row.guid);
    case SearchRole:
        return row.searched;
    default:
        return {};
    }
}

Qt::ItemFlags ChatListModel::flags(const QModelIndex& index) const
{
    if (!index.isValid())
        return QAbstractListModel::flags(index);
    return QAbstractListModel::flags(index) | Qt::ItemIsUserCheckable | Qt::ItemNeverHasChildren;
}

bool ChatListModel::setData(const QModelIndex& index, const QVariant& value, int role)
{
    if (!index.isValid() || role != Qt::CheckStateRole || value == data(index, role))
        return false;
    m_state.toggle(m_rows.at(static_cast<std::size_t>(index.row())).guid);
    return true;
}

ChatListModel::Row ChatListModel::rowFor(const ChatInfo& chat) const
{
    const auto known = m_state.titles().find(chat.id);
    const QString title
        = known == m_state.titles().end() ? QString() : QString::fromStdString(known->second);
    return {chat.guid, title, title.toLower(), chatSubtitle(chat), chat.isGroup,
        m_state.selected().contains(chat.guid)};
}

void ChatListModel::reload()
{
    std::vector<Row> rows;
    rows.reserve(m_state.chats().size());
    for (const ChatInfo& chat : m_state.chats())
        rows.push_back(rowFor(chat));
    const bool sameChats = std::equal(rows.begin(), rows.end(), m_rows.begin(), m_rows.end(),
        [](const Row& one, const Row& other) { return one.guid == other.guid; });
    if (sameChats && !rows.empty()) {
        m_rows = std::move(rows);
        emit dataChanged(index(0), index(rowCount() - 1));
    } else {
        beginResetModel();
        m_rows = std::move(rows);
        endResetModel();
    }
}

void ChatListModel::onSelectedChanged()
{
    for (int row = 0; row < rowCount(); ++row) {
        Row& each = m_rows[static_cast<std::size_t>(row)];
        const bool isChecked = m_state.selected().contains(each.guid);
        if (std::exchange(each.isChecked, isChecked) != isChecked)
            emit dataChanged(index(row), index(row), {Qt::CheckStateRole});
    }
}

namespace {

bool isBlank(QChar character)
{
    return character == QLatin1Char('\t') || character.category() == QChar::Separator_Space;
}

/// Unlike QString::trimmed(), keeps line breaks.
QString withoutBlanksAround(QStringView text)
{
    while (!text.isEmpty() && isBlank(text.front()))
        text = text.sliced(1);
    while (!text.isEmpty() && isBlank(text.back()))
        text.chop(1);
    return text.toString();
}

} // namespace

void ChatFilter::setQuery(const QString& query)
{
    m_query = withoutBlanksAround(query);
    const QString wanted = m_query.toLower();
    if (wanted == m_lowerCaseQuery)
        return;
    m_lowerCaseQuery = wanted;
    invalidateFilter();
}

bool ChatFilter::filterAcceptsRow(int row, const QModelIndex& parent) const
{
    return m_lowerCaseQuery.isEmpty()
        || sourceModel()
               ->index(row, 0, parent)
               .data(ChatListModel::SearchRole)
               .toString()
               .contains(m_lowerCaseQuery);
}

namespace {

bool isSeparator(QChar character)
{
    return character.isSpace() || character == u',' || character == u'،';
}

/// Removes "dddd" from a date format, and the spaces and commas around it.
QString withoutDayOfWeek(QString form)
{
    const QLatin1String day("dddd");
    qsizetype begin = form.indexOf(day);
    if (begin < 0)
        return form;
    qsizetype end = begin + day.size();
    while (begin > 0 && isSeparator(form[begin - 1]))
        --begin;
    while (end < form.size() && isSeparator(form[end]))
        ++end;
    return form.remove(begin, end - begin);
}

/// The locale's long date format without the day of the week and with an abbreviated month, such as
/// "MMM d, yyyy". QLocale has no such format.
QString abbreviatedForm(const QLocale& locale)
{
    return withoutDayOfWeek(locale.dateFormat(QLocale::LongFormat))
        .replace(QStringLiteral("MMMM"), QStringLiteral("MMM"));
}

/// The date without time, in the system's time zone.
QString abbreviatedDate(ReferenceTime time)
{
    const std::chrono::duration<double> sinceEpoch
        = time + std::chrono::seconds(referenceDateUnixSeconds);
    const auto milliseconds = std::chrono::floor<std::chrono::milliseconds>(sinceEpoch);
    const QLocale locale;
    return locale.toString(
        QDateTime::fromMSecsSinceEpoch(milliseconds.count()).date(), abbreviatedForm(locale));
}

} // namespace

QString chatSubtitle(const ChatInfo& chat)
{
    QString messages = QLocale().toString(static_cast<qlonglong>(chat.messageCount))
        + QStringLiteral(" messages");
    if (!chat.lastDate)
        return messages;
    return messages + QStringLiteral(", last ") + abbreviatedDate(*chat.lastDate);
}

} // namespace korvane
