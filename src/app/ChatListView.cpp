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

/// The visible height of the last row, in points, in a list of this height that is scrolled to its
/// top. 0 if more than the row's upper edge is visible.
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
    constexpr int linesOfANotch = 3; // Qt's default; makes one wheel notch scroll one row
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

/// Keeps most of the visible rows where they were. Each of them asks for the scroll position that
/// would keep it in place; the median is not affected by a few rows that have moved in the list.
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

/// Handles the second press of a double click like the first, so that two fast clicks toggle a row
/// twice. The base class would not pass the second release to the delegate.
void ChatListView::mouseDoubleClickEvent(QMouseEvent* event)
{
    mousePressEvent(event);
}

/// Tells screen readers that a row was checked or unchecked, which the base class does not.
void ChatListView::dataChanged(
    const QModelIndex& first, const QModelIndex& last, const QList<int>& roles)
{
    QListView::dataChanged(first, last, roles);
    if (!roles.contains(Qt::CheckStateRole))
        return;
    QAccessible::State checks;
    checks.checked = true; // in this event, true means "has changed"
    for (int row = first.row(); row <= last.row(); ++row) {
        QAccessibleStateChangeEvent event(this, checks);
        event.setChild(row);
        QAccessible::updateAccessibility(&event);
    }
}

/// Keeps a sliver of the last row out of view by a margin below the viewport.
void ChatListView::resizeEvent(QResizeEvent* event)
{
    const QMargins margins(0, 0, 0, sliver(contentsRect().height()));
    if (viewportMargins() != margins)
        setViewportMargins(margins);
    QListView::resizeEvent(event);
}

/// Scrolling brings another row under a resting pointer, so the highlighted row must be updated.
void ChatListView::scrollContentsBy(int dx, int dy)
{
    QListView::scrollContentsBy(dx, dy);
    if (m_pointer)
        hover(*m_pointer);
}

/// The base class counts the gap below a row as part of the row. A click in the gap does nothing,
/// so hovering there must not highlight the row.
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
