#include "app/Middle.h"

#include <QEvent>
#include <QScrollBar>

#include <algorithm>

namespace korvane {

Middle::Middle(QWidget* parent) : QScrollArea(parent), m_pieces(new QVBoxLayout)
{
    setObjectName(QStringLiteral("middle"));
    setFrameShape(QFrame::NoFrame);
    setFocusPolicy(Qt::NoFocus);
    setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    auto* content = new QWidget;
    content->setLayout(m_pieces);
    m_pieces->setContentsMargins({});
    m_pieces->setSpacing(0);
    m_pieces->addStretch();
    setWidget(content);
}

void Middle::add(QWidget* piece, int stretch)
{
    m_pieces->insertWidget(m_pieces->count() - 1, piece, stretch); // the stretch stays last
    piece->hide();
}

void Middle::showOnly(QWidget* piece)
{
    for (int i = 0; i < m_pieces->count(); ++i) {
        if (QWidget* each = m_pieces->itemAt(i)->widget())
            each->setVisible(each == piece);
    }
    m_shown = piece;
    arrange();
    verticalScrollBar()->setValue(0);
}

bool Middle::eventFilter(QObject* watched, QEvent* event)
{
    if (watched == widget() && event->type() == QEvent::LayoutRequest)
        arrange();
    return QScrollArea::eventFilter(watched, event);
}

void Middle::resizeEvent(QResizeEvent* event)
{
    arrange();
    QScrollArea::resizeEvent(event);
}

/// Sizes the content here, because QScrollArea would scroll a piece that has less than its
/// preferred height. Here it shrinks to its minimum height first, and scrolls only below that.
void Middle::arrange()
{
    if (m_shown)
        widget()->resize(viewport()->width(), std::max(viewport()->height(), heightNeeded()));
}

int Middle::heightNeeded() const
{
    QLayout* layout = m_shown->layout();
    return layout->hasHeightForWidth() ? layout->totalMinimumHeightForWidth(viewport()->width())
                                       : layout->totalMinimumSize().height();
}

} // namespace korvane
