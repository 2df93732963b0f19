#include "app/AssignmentButton.h"

#include <QStyleOptionButton>
#include <QStylePainter>

AssignmentButton::AssignmentButton(QWidget* parent)
    : QPushButton(parent)
{
}

void AssignmentButton::paintEvent(QPaintEvent* /*event*/)
{
    QStylePainter painter(this);
    QStyleOptionButton option;
    initStyleOption(&option);
    const QRect contents = style()->subElementRect(QStyle::SE_PushButtonContents, &option, this);
    const int margin = style()->pixelMetric(QStyle::PM_ButtonMargin, &option, this);
    option.text = fontMetrics().elidedText(text(), Qt::ElideRight, contents.width() - margin);
    painter.drawControl(QStyle::CE_PushButton, option);
}
