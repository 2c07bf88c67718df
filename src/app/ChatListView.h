#pragma once

#include <QListView>

#include <optional>
#include <vector>

namespace korvane {

/// The list of chats. Restores scroll position and current row after a model reset: a list at its
/// top stays there, otherwise most visible rows stay where they were. If the current chat is gone,
/// the row that is now in its place becomes current. Main thread only.
class ChatListView : public QListView {
    Q_OBJECT

public:
    explicit ChatListView(QWidget* parent = nullptr);

    void setModel(QAbstractItemModel* model) override;

    /// Takes keyboard focus and makes the topmost fully visible row current. Does nothing if there
    /// are no rows.
    void focusTopmostRow();

protected:
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    void dataChanged(const QModelIndex& first, const QModelIndex& last,
        const QList<int>& roles = QList<int>()) override;
    void resizeEvent(QResizeEvent* event) override;
    void scrollContentsBy(int dx, int dy) override;
    bool viewportEvent(QEvent* event) override;

private:
    /// Where a chat's row is on screen. Unlike a QModelIndex, it survives a model reset.
    struct Place {
        QString guid;
        int top = 0; ///< the row's upper edge, in points below the viewport's
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
    std::optional<QPointF> m_pointer; ///< mouse position; empty while it is not over the list
};

} // namespace korvane
