#include "app/ChatListView.h"

#include "app/ChatListModel.h"
#include "app/ChatRowDelegate.h"
#include "app/Look.h"

#include <QScrollBar>

#include <algorithm>

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

std::vector<ChatListView::Place> ChatListView::visiblePlaces() const
{
    std::vector<Place> places;
    for (QModelIndex index = indexAt({1, 1});
         index.isValid() && visualRect(index).top() < viewport()->height();
         index = index.siblingAtRow(index.row() + 1))
        places.push_back(placeOf(index));
    return places;
}

void ChatListView::remember()
{
    m_wasAtTop = verticalScrollBar()->value() == 0;
    m_visible = visiblePlaces();
    m_current = currentIndex().data(ChatListModel::GuidRole).toString();
    m_currentRow = currentIndex().row();
}

void ChatListView::restore()
{
    restoreCurrent();
    restoreScroll();
}

void ChatListView::restoreCurrent()
{
    if (m_currentRow < 0 || model()->rowCount() == 0)
        return;
    int row = std::min(m_currentRow, model()->rowCount() - 1);
    for (int each = 0; each < model()->rowCount(); ++each) {
        if (model()->index(each, 0).data(ChatListModel::GuidRole).toString() == m_current)
            row = each;
    }
    selectionModel()->setCurrentIndex(model()->index(row, 0), QItemSelectionModel::NoUpdate);
}

/// Most of the rows that were seen are seen where they were: one of them may have moved away.
void ChatListView::restoreScroll()
{
    if (m_wasAtTop)
        return scrollToTop();
    std::vector<int> values;
    for (int row = 0; row < model()->rowCount(); ++row) {
        const Place now = placeOf(model()->index(row, 0));
        for (const Place& place : m_visible) {
            if (place.guid == now.guid)
                values.push_back(verticalScrollBar()->value() + now.top - place.top);
        }
    }
    if (values.empty())
        return;
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    verticalScrollBar()->setValue(*middle);
}

/// To the list the second of two fast clicks is a click like the first.
void ChatListView::mouseDoubleClickEvent(QMouseEvent* event)
{
    mousePressEvent(event);
}

} // namespace korvane
