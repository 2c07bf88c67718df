#include "app/ChatRowDelegate.h"

#include "app/Buttons.h"
#include "app/ChatListModel.h"
#include "app/Look.h"

#include <QApplication>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>

namespace korvane {

namespace {

constexpr int rowHeight = 54;
constexpr int gap = 6; ///< below each row
constexpr int padding = 12;
constexpr int markSize = 20;
constexpr int symbolHeight = 10;
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

void paintGround(QPainter* painter, const QRectF& area, bool isSelected)
{
    constexpr double half = 0.5; // a stroke of 1 point inside
    painter->setPen(isSelected ? QPen(Look::faded(Look::coral, 0.7), 1) : QPen(Look::card, 1));
    painter->setBrush(Look::card);
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
    return {option.rect.width(), rowHeight + gap};
}

void ChatRowDelegate::paint(
    QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const
{
    const bool isSelected = index.data(Qt::CheckStateRole).toInt() == Qt::Checked;
    const QRect row = option.rect.adjusted(0, 0, 0, -gap);
    painter->save();
    painter->setRenderHint(QPainter::Antialiasing);
    paintGround(painter, row, isSelected);
    const QRect mark(row.left() + padding, row.center().y() - markSize / 2 + 1, markSize, markSize);
    paintMark(painter, mark, isSelected);

    const int left = mark.right() + padding;
    const QRect text(left, row.top(), row.right() - padding - left, row.height());
    const int half = text.height() / 2;
    paintTitle(painter, text.adjusted(0, 8, 0, -half + 2), index);
    painter->setFont(m_subtitleFont);
    painter->setPen(Look::mute);
    const QString subtitle = index.data(ChatListModel::SubtitleRole).toString();
    painter->drawText(text.adjusted(0, half + 1, 0, -9), Qt::AlignVCenter,
        painter->fontMetrics().elidedText(subtitle, Qt::ElideRight, text.width()));
    if ((option.state & QStyle::State_HasFocus) != 0)
        drawFocus(*painter, row, radius);
    painter->restore();
}

void ChatRowDelegate::paintTitle(
    QPainter* painter, const QRect& area, const QModelIndex& index) const
{
    const bool isGroup = index.data(ChatListModel::IsGroupRole).toBool();
    const QPixmap symbol = isGroup ? Look::symbol(Look::Drawing::TwoPersons, symbolHeight,
                               painter->deviceTransform().m11(), Look::mute)
                                   : QPixmap();
    constexpr int spacing = 6;
    const int symbolWidth
        = isGroup ? static_cast<int>(symbol.deviceIndependentSize().width()) + spacing : 0;
    painter->setFont(m_titleFont);
    painter->setPen(Look::cream);
    const QFontMetrics metrics = painter->fontMetrics();
    const QString title = metrics.elidedText(
        index.data(Qt::DisplayRole).toString(), Qt::ElideRight, area.width() - symbolWidth);
    painter->drawText(area, Qt::AlignVCenter | Qt::TextSingleLine, title);
    if (isGroup)
        painter->drawPixmap(area.left() + metrics.horizontalAdvance(title) + spacing,
            area.center().y() - symbolHeight / 2 + 1, symbol);
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
