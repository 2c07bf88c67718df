#pragma once

#include <QListView>

namespace korvane {

/// The list of chats. When the chats are read anew it goes on showing the row it showed at its top,
/// and stays on the chat that the keyboard was on. Lives on the main thread.
class ChatListView : public QListView {
    Q_OBJECT

public:
    explicit ChatListView(QWidget* parent = nullptr);

    void setModel(QAbstractItemModel* model) override;

private:
    /// A row by what it shows, not by where it stands.
    struct Place {
        QString guid;
        int top = 0; ///< of the row, in points below that of the list
    };

    Place placeOf(const QModelIndex& index) const;
    QModelIndex rowOf(const QString& guid) const;
    void remember();
    void restore();

    Place m_topmost;
    Place m_current;
};

} // namespace korvane
