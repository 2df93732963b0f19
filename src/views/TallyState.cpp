#include "views/TallyState.h"

#include <QFontDatabase>
#include <QFontMetricsF>
#include <QPainter>
#include <QPainterPath>

#include <algorithm>

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

int TallyState::glanceableLabelPixelSize() const
{
    return std::max(labelPixelSize, std::min(height() / 6, width() / 8));
}

void TallyState::paintGlanceable(QPainter& painter)
{
    const QRectF bounds = QRectF(rect()).adjusted(2, 2, -2, -2);
    QPainterPath outline;
    outline.addRoundedRect(bounds, cornerRadius * 2, cornerRadius * 2);
    painter.fillPath(outline, fillColor(mode));

    const int labelSize = glanceableLabelPixelSize();
    QFont font = labelFont();
    // An unlit lamp sits on whatever its surround is (dark in the big
    // view): its number stays readable in gray.
    painter.setPen(QPen(mode == Mode::off ? QColor(0xA0, 0xA0, 0xA0) : QColor(Qt::black)));
    // The number, large, in the upper half; the shots under it; the mode's
    // word at the foot.
    font.setPixelSize(labelSize * 2);
    font.setBold(true);
    painter.setFont(font);
    const qreal third = bounds.height() / 3;
    painter.drawText(QRectF(bounds.left(), bounds.top(), bounds.width(), third * 1.3), Qt::AlignCenter,
        lightNumber > 0 ? QString::number(lightNumber) : QString());
    font.setPixelSize(std::max(labelPixelSize, labelSize * 3 / 4));
    font.setBold(false);
    painter.setFont(font);
    const QRectF namesBox(bounds.left() + 4, bounds.top() + third * 1.3, bounds.width() - 8, third);
    painter.drawText(namesBox, Qt::AlignCenter | Qt::TextWordWrap,
        QFontMetricsF(font).elidedText(shotNames, Qt::ElideRight, namesBox.width() * 2));
    font.setPixelSize(labelSize);
    font.setBold(true);
    painter.setFont(font);
    painter.drawText(QRectF(bounds.left(), bounds.bottom() - third * 0.7, bounds.width(), third * 0.7), Qt::AlignCenter,
        label(mode));

    QPen frame(outlineColor);
    if (mode == Mode::live) {
        frame = QPen(Qt::black, std::max(4, labelSize / 3), Qt::SolidLine);
    } else if (mode == Mode::preview) {
        frame = QPen(Qt::black, std::max(3, labelSize / 4), Qt::DashLine);
    }
    painter.setPen(frame);
    painter.setBrush(Qt::NoBrush);
    painter.drawPath(outline);
}

void TallyState::paintEvent(QPaintEvent* /*event*/)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    if (glanceable) {
        paintGlanceable(painter);
        return;
    }

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
