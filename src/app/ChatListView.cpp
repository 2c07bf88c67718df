#include "app/ChatListView.h"

#include "app/ChatListModel.h"
#include "app/ChatRowDelegate.h"
#include "app/Look.h"

#include <QAccessible>
#include <QHoverEvent>
#include <QScrollBar>

#include <algorithm>

namespace korvane {

namespace {

/// How much of a list's height shows so little of its last row that only the row's upper edge is
/// there to be seen.
int sliver(int height)
{
    constexpr int leastToSee = 14;
    const int rest = height % ChatRowDelegate::pitch;
    return rest < leastToSee ? rest : 0;
}

} // namespace

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
    constexpr int linesOfANotch = 3; // a notch of the wheel is a row
    verticalScrollBar()->setSingleStep(ChatRowDelegate::pitch / linesOfANotch);
    viewport()->setAttribute(Qt::WA_Hover);
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

void ChatListView::focusTopmostRow()
{
    QModelIndex topmost = indexAt({1, 1});
    if (!topmost.isValid())
        return;
    const QModelIndex next = topmost.siblingAtRow(topmost.row() + 1);
    if (visualRect(topmost).top() < 0 && next.isValid())
        topmost = next;
    setFocus(Qt::OtherFocusReason);
    selectionModel()->setCurrentIndex(topmost, QItemSelectionModel::NoUpdate);
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

/// Qt tells a screen reader that something has changed, but not that a row was checked.
void ChatListView::dataChanged(
    const QModelIndex& first, const QModelIndex& last, const QList<int>& roles)
{
    QListView::dataChanged(first, last, roles);
    if (!roles.contains(Qt::CheckStateRole))
        return;
    QAccessible::State checks;
    checks.checked = true; // that they have changed, not what to
    for (int row = first.row(); row <= last.row(); ++row) {
        QAccessibleStateChangeEvent event(this, checks);
        event.setChild(row);
        QAccessible::updateAccessibility(&event);
    }
}

void ChatListView::resizeEvent(QResizeEvent* event)
{
    const QMargins margins(0, 0, 0, sliver(contentsRect().height()));
    if (viewportMargins() != margins)
        setViewportMargins(margins);
    QListView::resizeEvent(event);
}

/// The pointer stands still, and another row comes below it.
void ChatListView::scrollContentsBy(int dx, int dy)
{
    QListView::scrollContentsBy(dx, dy);
    if (m_pointer)
        hover(*m_pointer);
}

/// To the base class the gap below a row belongs to it; a click there does nothing, and so the
/// pointer there is over no row.
bool ChatListView::viewportEvent(QEvent* event)
{
    if (event->type() == QEvent::HoverEnter || event->type() == QEvent::HoverMove)
        return hover(static_cast<QHoverEvent*>(event)->position());
    if (event->type() == QEvent::HoverLeave)
        m_pointer.reset();
    return QListView::viewportEvent(event);
}

bool ChatListView::hover(const QPointF& pointer)
{
    m_pointer = pointer;
    const QRect row
        = visualRect(indexAt(pointer.toPoint())).adjusted(0, 0, 0, -ChatRowDelegate::gap);
    const auto type = row.contains(pointer.toPoint()) ? QEvent::HoverMove : QEvent::HoverLeave;
    QHoverEvent event(type, pointer, viewport()->mapToGlobal(pointer), pointer);
    return QListView::viewportEvent(&event);
}

} // namespace korvane
