#pragma once

#include <QListView>

#include <optional>
#include <vector>

namespace korvane {

/// The list of chats. When the chats are read anew it goes on showing the rows it showed, or its
/// top where it was there, and stays on the chat that the keyboard was on, or at its place where
/// that chat is gone. Lives on the main thread.
class ChatListView : public QListView {
    Q_OBJECT

public:
    explicit ChatListView(QWidget* parent = nullptr);

    void setModel(QAbstractItemModel* model) override;

    /// Puts the keyboard on the topmost row that is wholly in view. Does nothing without rows.
    void focusTopmostRow();

protected:
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    void dataChanged(const QModelIndex& first, const QModelIndex& last,
        const QList<int>& roles = QList<int>()) override;
    void resizeEvent(QResizeEvent* event) override;
    void scrollContentsBy(int dx, int dy) override;
    bool viewportEvent(QEvent* event) override;

private:
    /// A row by what it shows, not by where it stands.
    struct Place {
        QString guid;
        int top = 0; ///< of the row, in points below that of the list
    };

    Place placeOf(const QModelIndex& index) const;
    std::vector<Place> visiblePlaces() const;
    void remember();
    void restore();
    void restoreCurrent();
    void restoreScroll();
    bool hover(const QPointF& pointer);

    bool m_wasAtTop = true;
    std::vector<Place> m_visible;
    QString m_current;
    int m_currentRow = -1;
    std::optional<QPointF> m_pointer; ///< while the mouse is over the list
};

} // namespace korvane
