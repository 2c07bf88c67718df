#include "app/ChatRowDelegate.h"

#include "app/ChatListModel.h"
#include "app/FocusRing.h"
#include "app/Look.h"
#include "app/Pieces.h"

#include <QAbstractItemView>
#include <QHelpEvent>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QToolTip>

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

void paintGround(QPainter* painter, const QRectF& area, bool isSelected, bool isUnderPointer)
{
    constexpr double half = 0.5; // keeps the 1-point outline inside `area`
    const QColor ground = isUnderPointer ? Look::raised : Look::card;
    painter->setPen(QPen(isSelected ? Look::faded(Look::coral, 0.7) : ground, 1));
    painter->setBrush(ground);
    painter->drawRoundedRect(area.adjusted(half, half, -half, -half), radius, radius);
}

void paintMark(QPainter* painter, const QRectF& area, bool isSelected)
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
    painter->setLayoutDirection(
        Qt::LayoutDirectionAuto); // the title's own; Qt 6.8 has the window's
    paintGround(painter, row, isSelected, (option.state & QStyle::State_MouseOver) != 0);
    const QRect mark(row.left() + padding, row.center().y() - markSize / 2 + 1, markSize, markSize);
    paintMark(painter, mark, isSelected);

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

} // namespace korvane
