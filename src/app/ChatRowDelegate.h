#pragma once

#include <QStyledItemDelegate>

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

} // namespace korvane
