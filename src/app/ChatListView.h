#pragma once

#include <QListView>
#include <QStyledItemDelegate>

#include <optional>
#include <vector>

namespace korvane {

/// Draws a row of the chat list: check mark, title, subtitle. A click anywhere on the row, or the
/// space bar, toggles the check mark. A tooltip shows an elided title in full. Main thread only.
class ChatRowDelegate : public QStyledItemDelegate {
    Q_OBJECT

public:
    static constexpr int gap = 6; ///< below each row, in points
    static constexpr int pitch = 60; ///< points from the top of one row to the top of the next

    explicit ChatRowDelegate(QObject* parent = nullptr);

    void paint(QPainter* painter, const QStyleOptionViewItem& option,
        const QModelIndex& index) const override;
    QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override;
    bool editorEvent(QEvent* event, QAbstractItemModel* model, const QStyleOptionViewItem& option,
        const QModelIndex& index) override;
    bool helpEvent(QHelpEvent* event, QAbstractItemView* view, const QStyleOptionViewItem& option,
        const QModelIndex& index) override;

private:
    void paintTitle(QPainter* painter, const QRect& area, const QModelIndex& index) const;
    QString shownTitle(const QModelIndex& index, int width) const;

    const QFont m_titleFont;
    const QFont m_subtitleFont;
};

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
