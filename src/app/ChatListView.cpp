#include "app/ChatListView.h"

#include "app/ChatListModel.h"
#include "app/Controls.h"
#include "app/Labels.h"
#include "app/Look.h"

#include <QAbstractItemView>
#include <QAccessible>
#include <QHelpEvent>
#include <QHoverEvent>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QScrollBar>
#include <QToolTip>

#include <algorithm>

namespace korvane {

namespace {

constexpr int padding = 12;
constexpr int markSize = 20;
constexpr int symbolHeight = 10;
constexpr int symbolSpacing = 6; ///< between a title and its symbol
constexpr double radius = 14;

bool isToggle(const QEvent& event, const QRect& area)
{
    if (event.type() == QEvent::MouseButtonRelease) {
        const auto& mouse = static_cast<const QMouseEvent&>(event);
        return mouse.button() == Qt::LeftButton && area.contains(mouse.position().toPoint());
    }
    if (event.type() != QEvent::KeyPress)
        return false;
    const int key = static_cast<const QKeyEvent&>(event).key();
    return key == Qt::Key_Space || key == Qt::Key_Select;
}

/// The area for title and subtitle: the row without the check mark and the padding.
QRect textAreaOf(const QRect& row)
{
    return row.adjusted(2 * padding + markSize - 1, 0, -padding, 0);
}

QPixmap symbolOf(const QModelIndex& index, double pixelsPerPoint)
{
    return index.data(ChatListModel::IsGroupRole).toBool()
        ? Look::symbol(Look::Drawing::TwoPersons, symbolHeight, pixelsPerPoint, Look::mute)
        : QPixmap();
}

void paintBackground(QPainter* painter, const QRectF& area, bool isSelected, bool isUnderPointer)
{
    constexpr double half = 0.5; // keeps the 1-point outline inside `area`
    const QColor background = isUnderPointer ? Look::raised : Look::card;
    painter->setPen(QPen(isSelected ? Look::faded(Look::coral, 0.7) : background, 1));
    painter->setBrush(background);
    painter->drawRoundedRect(area.adjusted(half, half, -half, -half), radius, radius);
}

void paintCheckMark(QPainter* painter, const QRectF& area, bool isSelected)
{
    constexpr double half = 0.5;
    painter->setPen(isSelected ? QPen(Look::coral, 1) : QPen(Look::mute, 1));
    painter->setBrush(isSelected ? QBrush(Look::coral) : Qt::NoBrush);
    painter->drawEllipse(area.adjusted(half, half, -half, -half));
    if (!isSelected)
        return;
    painter->setPen(QPen(Qt::black, 2, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    const QPointF middle = area.center();
    painter->drawPolyline(QPolygonF(
        {middle + QPointF(-4, 0.5), middle + QPointF(-1.2, 3.3), middle + QPointF(4.2, -3.2)}));
}

} // namespace

ChatRowDelegate::ChatRowDelegate(QObject* parent)
    : QStyledItemDelegate(parent)
    , m_titleFont(Look::font(14, QFont::DemiBold))
    , m_subtitleFont(Look::font(11))
{
}

QSize ChatRowDelegate::sizeHint(
    const QStyleOptionViewItem& option, const QModelIndex& /*index*/) const
{
    return {option.rect.width(), pitch};
}

void ChatRowDelegate::paint(
    QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const
{
    constexpr int inset = 3; // keeps the focus ring off the row's outline
    const bool isSelected = index.data(Qt::CheckStateRole).toInt() == Qt::Checked;
    const QRect row = option.rect.adjusted(0, 0, 0, -gap);
    painter->save();
    painter->setRenderHint(QPainter::Antialiasing);
    useDirectionOfText(*painter);
    paintBackground(painter, row, isSelected, (option.state & QStyle::State_MouseOver) != 0);
    const QRect mark(row.left() + padding, row.center().y() - markSize / 2 + 1, markSize, markSize);
    paintCheckMark(painter, mark, isSelected);

    const QRect text = textAreaOf(row);
    const int half = text.height() / 2;
    paintTitle(painter, text.adjusted(0, 8, 0, -half + 2), index);
    painter->setFont(m_subtitleFont);
    painter->setPen(Look::mute);
    const QString subtitle = index.data(ChatListModel::SubtitleRole).toString();
    painter->drawText(text.adjusted(0, half + 1, 0, -9), Qt::AlignVCenter,
        painter->fontMetrics().elidedText(subtitle, Qt::ElideRight, text.width()));
    if (option.state.testFlags(QStyle::State_HasFocus | QStyle::State_KeyboardFocusChange))
        drawFocus(*painter, row.adjusted(inset, inset, -inset, -inset), radius - inset);
    painter->restore();
}

void ChatRowDelegate::paintTitle(
    QPainter* painter, const QRect& area, const QModelIndex& index) const
{
    painter->setFont(m_titleFont);
    painter->setPen(Look::cream);
    const QString title = shownTitle(index, area.width());
    painter->drawText(area, Qt::AlignVCenter | Qt::TextSingleLine, title);
    const int symbolLeft
        = area.left() + painter->fontMetrics().horizontalAdvance(title) + symbolSpacing;
    painter->drawPixmap(symbolLeft, area.center().y() - symbolHeight / 2 + 1,
        symbolOf(index, painter->deviceTransform().m11()));
}

/// The title, elided to fit `width` points, for a group together with the symbol after it.
QString ChatRowDelegate::shownTitle(const QModelIndex& index, int width) const
{
    const QPixmap symbol = symbolOf(index, 1);
    const int room = symbol.isNull() ? width : width - symbol.width() - symbolSpacing;
    return elided(
        index.data(Qt::DisplayRole).toString(), QFontMetrics(m_titleFont), Qt::ElideRight, room);
}

bool ChatRowDelegate::helpEvent(QHelpEvent* event, QAbstractItemView* view,
    const QStyleOptionViewItem& option, const QModelIndex& index)
{
    if (event->type() != QEvent::ToolTip || !index.isValid())
        return QStyledItemDelegate::helpEvent(event, view, option, index);
    const QString title = index.data(Qt::DisplayRole).toString();
    const bool isCut = shownTitle(index, textAreaOf(option.rect).width()) != title;
    QToolTip::showText(event->globalPos(),
        isCut ? Qt::convertFromPlainText(title, Qt::WhiteSpaceNormal) : QString(), view->viewport(),
        option.rect);
    return true;
}

bool ChatRowDelegate::editorEvent(QEvent* event, QAbstractItemModel* model,
    const QStyleOptionViewItem& option, const QModelIndex& index)
{
    if (!isToggle(*event, option.rect.adjusted(0, 0, 0, -gap)))
        return false;
    const bool isSelected = index.data(Qt::CheckStateRole).toInt() == Qt::Checked;
    return model->setData(index, isSelected ? Qt::Unchecked : Qt::Checked, Qt::CheckStateRole);
}

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
