#pragma once

#include <QSortFilterProxyModel>

namespace korvane {

/// The chats that the user searches for. Lives on the main thread.
class ChatFilter : public QSortFilterProxyModel {
    Q_OBJECT

public:
    using QSortFilterProxyModel::QSortFilterProxyModel;

    /// Lets through the chats whose title has the query in it, in any case and without the spaces
    /// and tabs around it; all of them where nothing is left.
    void setQuery(const QString& query);

    /// The query as it was typed, without what is around it.
    const QString& typed() const { return m_typed; }

protected:
    bool filterAcceptsRow(int row, const QModelIndex& parent) const override;

private:
    QString m_typed;
    QString m_query; ///< in lower case
};

} // namespace korvane
