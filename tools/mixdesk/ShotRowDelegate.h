#pragma once

#include <QStyledItemDelegate>

// Paints a shot row so that its tally colour always shows: the usual
// selection highlight would cover the red of program or the green of
// preview, so the selected row gets an outline instead.
class ShotRowDelegate : public QStyledItemDelegate {
    Q_OBJECT

public:
    using QStyledItemDelegate::QStyledItemDelegate;

    void paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const override;
    QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override;
};
