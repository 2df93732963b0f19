#include "views/TallyState.h"

#include <QFontDatabase>
#include <QFontMetricsF>
#include <QPainter>
#include <QPainterPath>

namespace {

constexpr qreal cornerRadius = 5.0;
// The label's box (descenders included) sits this far above the bottom edge.
constexpr qreal labelBottomMargin = 3.0;
constexpr int labelPixelSize = 12;

const QColor outlineColor(0x80, 0x80, 0x80);

} // namespace

TallyState::TallyState(QWidget* parent)
    : QWidget(parent)
{
}

void TallyState::setNeedsDisplayInRect(const QRect& rect)
{
    update(rect);
}

QString TallyState::label(Mode mode)
{
    switch (mode) {
    case Mode::preview:
        return QStringLiteral("PREVIEW");
    case Mode::live:
        return QStringLiteral("LIVE");
    case Mode::off:
        break;
    }
    return {};
}

QColor TallyState::fillColor(Mode mode)
{
    switch (mode) {
    case Mode::preview:
        return QColor(0x00, 0xFF, 0x00);
    case Mode::live:
        return QColor(0xFF, 0x00, 0x00);
    case Mode::off:
        break;
    }
    return QColor(Qt::transparent);
}

QFont TallyState::labelFont()
{
    // The indicator's geometry (corner radius, margin, size) is in
    // device-independent pixels; sizing the font in the same unit keeps the
    // label in proportion to the box whatever the screen's font DPI.
    QFont font = QFontDatabase::systemFont(QFontDatabase::GeneralFont);
    font.setPixelSize(labelPixelSize);
    return font;
}

QRectF TallyState::labelRect() const
{
    const QFontMetricsF metrics(labelFont());
    const qreal labelWidth = metrics.horizontalAdvance(label(mode));
    const qreal x = (width() - labelWidth) * 0.5;
    const qreal bottom = height() - labelBottomMargin;
    return QRectF(x, bottom - metrics.height(), labelWidth, metrics.height());
}

QSize TallyState::sizeHint() const
{
    const QFontMetrics metrics(labelFont());
    const int widest = metrics.horizontalAdvance(label(Mode::preview));
    return QSize(widest + 16, metrics.height() + 2 * static_cast<int>(labelBottomMargin) + 2);
}

void TallyState::paintEvent(QPaintEvent* /*event*/)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);

    QPainterPath outline;
    outline.addRoundedRect(QRectF(rect()), cornerRadius, cornerRadius);
    painter.fillPath(outline, fillColor(mode));

    // The label carries no colour of its own and so takes the default text
    // colour, black, whatever the widget palette says.
    const QFontMetricsF metrics(labelFont());
    const QRectF box = labelRect();
    painter.setFont(labelFont());
    painter.setPen(QPen(Qt::black));
    painter.drawText(QPointF(box.left(), box.bottom() - metrics.descent()), label(mode));

    // Centred on the bounds, so half of the line falls outside and is
    // clipped, as for any stroke of a view's own edge.
    painter.setPen(QPen(outlineColor));
    painter.setBrush(Qt::NoBrush);
    painter.drawPath(outline);
}
