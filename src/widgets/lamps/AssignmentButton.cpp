#include "lamps/AssignmentButton.h"

#include "base/Text.h"

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
    // Cut the plain name, then mark its "&"s again: cutting the marked text
    // could split a doubled "&" and make a shortcut of the ellipsis. Only
    // the start of a very long name is measured: eliding measures all of
    // it, on every paint.
    const QString whole = Text::fromLiteralMnemonicText(text());
    const QString name = Text::measurablePrefix(whole, measuredLength);
    QString shown = fontMetrics().elidedText(name, Qt::ElideRight, contents.width() - margin);
    if (name.size() < whole.size() && shown == name) {
        shown = fontMetrics().elidedText(name + QChar(0x2026), Qt::ElideRight, contents.width() - margin);
    }
    option.text = Text::literalMnemonicText(shown);
    painter.drawControl(QStyle::CE_PushButton, option);
}
