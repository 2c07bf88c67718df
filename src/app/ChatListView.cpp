#include "app/ChatListView.h"

#include "app/ChatListModel.h"
#include "app/ChatRowDelegate.h"
#include "app/Look.h"

#include <QScrollBar>

namespace korvane {

ChatListView::ChatListView(QWidget* parent) : QListView(parent)
{
    setItemDelegate(new ChatRowDelegate(this));
    setUniformItemSizes(true);
    setFrameShape(QFrame::NoFrame);
    setSelectionMode(QAbstractItemView::NoSelection); // rows are checked, not selected
    setEditTriggers(QAbstractItemView::NoEditTriggers);
    setVerticalScrollMode(QAbstractItemView::ScrollPerPixel);
    setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setAccessibleName(tr("Chats"));
    QPalette colours = palette();
    colours.setColor(QPalette::Base, Look::canvas);
    setPalette(colours);
}

void ChatListView::setModel(QAbstractItemModel* model)
{
    QListView::setModel(model);
    connect(model, &QAbstractItemModel::modelAboutToBeReset, this, &ChatListView::remember);
    connect(model, &QAbstractItemModel::modelReset, this, &ChatListView::restore);
}

ChatListView::Place ChatListView::placeOf(const QModelIndex& index) const
{
    return {index.data(ChatListModel::GuidRole).toString(), visualRect(index).top()};
}

QModelIndex ChatListView::rowOf(const QString& guid) const
{
    for (int row = 0; row < model()->rowCount(); ++row) {
        const QModelIndex index = model()->index(row, 0);
        if (index.data(ChatListModel::GuidRole).toString() == guid)
            return index;
    }
    return {};
}

void ChatListView::remember()
{
    m_topmost = placeOf(indexAt({1, 1}));
    m_current = placeOf(currentIndex());
}

void ChatListView::restore()
{
    if (const QModelIndex current = rowOf(m_current.guid); current.isValid())
        selectionModel()->setCurrentIndex(current, QItemSelectionModel::NoUpdate);
    if (const QModelIndex topmost = rowOf(m_topmost.guid); topmost.isValid()) {
        scrollTo(topmost, QAbstractItemView::PositionAtTop);
        verticalScrollBar()->setValue(verticalScrollBar()->value() - m_topmost.top);
    }
}

} // namespace korvane
