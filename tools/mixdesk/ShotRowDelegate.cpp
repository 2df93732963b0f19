#include "ShotRowDelegate.h"

#include <QPainter>

void ShotRowDelegate::paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const
{
    QStyleOptionViewItem plain(option);
    plain.state &= ~QStyle::State_Selected;
    QStyledItemDelegate::paint(painter, plain, index);
    if (!(option.state & QStyle::State_Selected)) {
        return;
    }
    painter->save();
    painter->setPen(QPen(option.palette.color(QPalette::Highlight), 2));
    painter->setBrush(Qt::NoBrush);
    // One outline around the whole row: each cell draws its part of it.
    const QRect cell = option.rect.adjusted(0, 1, 0, -1);
    painter->drawLine(cell.topLeft(), cell.topRight());
    painter->drawLine(cell.bottomLeft(), cell.bottomRight());
    if (index.column() == 0) {
        painter->drawLine(cell.topLeft() + QPoint(1, 0), cell.bottomLeft() + QPoint(1, 0));
    }
    if (index.column() == index.model()->columnCount(index.parent()) - 1) {
        painter->drawLine(cell.topRight(), cell.bottomRight());
    }
    painter->restore();
}

// A little more height than text needs, so the rows read as a panel of
// buttons rather than a dense list.
QSize ShotRowDelegate::sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const
{
    const QSize size = QStyledItemDelegate::sizeHint(option, index);
    return { size.width(), size.height() + 8 };
}
