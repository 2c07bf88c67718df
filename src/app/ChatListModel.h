#pragma once

#include <QAbstractListModel>
#include <QSortFilterProxyModel>
#include <QString>

#include <string>
#include <vector>

namespace korvane {

class AppState;
struct ChatInfo;

/// AppState's chats as rows, in AppState's order; selected chats are checked. Main thread only. If
/// the new list has the same chats in the same order, rows are updated in place (dataChanged). Any
/// other list, and an empty one, resets the model.
class ChatListModel : public QAbstractListModel {
    Q_OBJECT

public:
    /// In addition to Qt::DisplayRole (the title), Qt::CheckStateRole and the accessible roles.
    enum Role {
        SubtitleRole = Qt::UserRole,
        IsGroupRole,
        GuidRole,
        SearchRole, ///< the title in lower case; empty if the chat has none
    };

    explicit ChatListModel(AppState& state, QObject* parent = nullptr);

    int rowCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    Qt::ItemFlags flags(const QModelIndex& index) const override;

    /// For Qt::CheckStateRole, toggles whether the chat is selected. Returns false for other roles
    /// and if `value` is the current state.
    bool setData(const QModelIndex& index, const QVariant& value, int role) override;

private:
    struct Row {
        std::string guid;
        QString title;
        QString searched;
        QString subtitle;
        bool isGroup = false;
        bool isChecked = false;
    };

    Row rowFor(const ChatInfo& chat) const;
    void reload();
    void onSelectedChanged();

    AppState& m_state;
    std::vector<Row> m_rows;
};

/// Filters the list of chats by the text in the search field. Main thread only.
class ChatFilter : public QSortFilterProxyModel {
    Q_OBJECT

public:
    using QSortFilterProxyModel::QSortFilterProxyModel;

    /// Accepts the chats whose title contains `query`, ignoring case and any spaces and tabs around
    /// the query. An empty query accepts all chats.
    void setQuery(const QString& query);

    /// The query in its original case, without the spaces and tabs around it.
    const QString& query() const { return m_query; }

protected:
    bool filterAcceptsRow(int row, const QModelIndex& parent) const override;

private:
    QString m_query;
    QString m_lowerCaseQuery;
};

/// The line below a chat's title: "1,234 messages, last Nov 21, 2026". The user's locale formats
/// the number and the date, which has an abbreviated month. Without the date if the chat has none.
QString chatSubtitle(const ChatInfo& chat);

} // namespace korvane
