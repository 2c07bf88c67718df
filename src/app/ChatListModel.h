#pragma once

#include "state/AppState.h"

#include <QAbstractListModel>

#include <vector>

namespace korvane {

/// The chats of an AppState as rows, newest first, checked where they are selected. Lives on the
/// main thread. A list with the same chats in the same order changes in place; any other one
/// resets the model.
class ChatListModel : public QAbstractListModel {
    Q_OBJECT

public:
    /// Besides Qt::DisplayRole (the title), Qt::CheckStateRole and the accessible roles.
    enum Role {
        SubtitleRole = Qt::UserRole,
        IsGroupRole,
        GuidRole,
        SearchRole, ///< the title in lower case; empty where the chat has none
    };

    explicit ChatListModel(AppState& state, QObject* parent = nullptr);

    int rowCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    Qt::ItemFlags flags(const QModelIndex& index) const override;

    /// Qt::CheckStateRole selects the chat or takes it out of the selection.
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

} // namespace korvane
