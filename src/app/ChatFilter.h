#pragma once

#include <QSortFilterProxyModel>

namespace korvane {

/// Filters the list of chats by the text in the search field. Main thread only.
class ChatFilter : public QSortFilterProxyModel {
    Q_OBJECT

public:
    using QSortFilterProxyModel::QSortFilterProxyModel;

    /// Accepts the chats whose title contains `query`, ignoring case and any spaces and tabs around
    /// the query. An empty query accepts all chats.
    void setQuery(const QString& query);

    /// The query in its original case, without the spaces and tabs around it.
    const QString& typed() const { return m_typed; }

protected:
    bool filterAcceptsRow(int row, const QModelIndex& parent) const override;

private:
    QString m_typed;
    QString m_query; ///< in lower case
};

} // namespace korvane
