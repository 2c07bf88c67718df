#include "app/ChatFilter.h"

#include "app/ChatListModel.h"

namespace korvane {

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
    m_typed = withoutBlanksAround(query);
    const QString wanted = m_typed.toLower();
    if (wanted == m_query)
        return;
    m_query = wanted;
    invalidateFilter();
}

bool ChatFilter::filterAcceptsRow(int row, const QModelIndex& parent) const
{
    return m_query.isEmpty()
        || sourceModel()
               ->index(row, 0, parent)
               .data(ChatListModel::SearchRole)
               .toString()
               .contains(m_query);
}

} // namespace korvane
