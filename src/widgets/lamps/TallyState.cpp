#include "lamps/TallyState.h"

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
    return tallyModeLabel(mode);
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
    return labelRect(QFontMetricsF(labelFont()));
}

QRectF TallyState::labelRect(const QFontMetricsF& metrics) const
{
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

LampLabelLayout TallyState::glanceableLayout() const
{
    return LampLabelLayout(QSizeF(size()), lightNumber, shotNames, mode);
}

int TallyState::glanceableLabelPixelSize() const
{
    return glanceableLayout().labelPixelSize();
}

void TallyState::paintGlanceable(QPainter& painter)
{
    const LampLabelLayout layout = glanceableLayout();
    QPainterPath outline;
    outline.addRoundedRect(layout.lampRect(), layout.cornerRadius(), layout.cornerRadius());
    painter.fillPath(outline, fillColor(mode));

    painter.setPen(QPen(glanceableTextColor()));
    for (const LampLabelLayout::Line& line : layout.lines()) {
        drawGlanceableLine(painter, line);
    }

    QPen frame(outlineColor);
    if (mode != Mode::off) {
        frame = QPen(glanceableFrameColor(), layout.frameWidth(), layout.frameStyle());
    }
    painter.setPen(frame);
    painter.setBrush(Qt::NoBrush);
    painter.drawPath(outline);
    paintMark(painter, outline);
}

void TallyState::drawGlanceableLine(QPainter& painter, const LampLabelLayout::Line& line) const
{
    if (line.text.isEmpty()) {
        return;
    }
    QFont font = labelFont();
    font.setPixelSize(line.pixelSize);
    font.setBold(line.bold);
    painter.setFont(font);
    // Only the shots can outgrow their box: they end in an ellipsis rather
    // than a cut glyph.
    const QString text = line.role == LampLabelLayout::Role::shots
        ? QFontMetricsF(font).elidedText(line.text, Qt::ElideRight, line.box.width() * line.maximumLines)
        : line.text;
    painter.drawText(line.box, Qt::AlignCenter | Qt::TextWordWrap, text);
}

void TallyState::showMark(Mark newMark, const QString& detail)
{
    if (mark == newMark && markDetail == detail) {
        return;
    }
    mark = newMark;
    markDetail = detail;
    update();
}

QString TallyState::markText() const
{
    switch (mark) {
    case Mark::lost:
        return markDetail.isEmpty() ? QStringLiteral("LOST") : QStringLiteral("LOST ") + markDetail;
    case Mark::test:
        return QStringLiteral("TEST");
    case Mark::missing:
        return markDetail.isEmpty() ? QStringLiteral("MISSING") : QStringLiteral("MISSING ") + markDetail;
    case Mark::none:
        break;
    }
    return {};
}

void TallyState::paintMark(QPainter& painter, const QPainterPath& outline)
{
    if (mark == Mark::none) {
        return;
    }
    painter.save();
    painter.setClipPath(outline);
    if (mark == Mark::lost) {
        // Dimmed and hatched: a colour that can no longer be trusted must not
        // read as a tally from across the studio, whatever its hue.
        painter.fillPath(outline, QColor(0x20, 0x20, 0x20, 150));
        painter.fillPath(outline, QBrush(QColor(0xFF, 0xC4, 0x00, 170), Qt::BDiagPattern));
    }
    const QRectF box = outline.boundingRect();
    QFont font = labelFont();
    font.setBold(true);
    font.setPixelSize(qBound(labelPixelSize, static_cast<int>(box.height() / 5), 96));
    painter.setFont(font);
    const QString text = markText();
    const QFontMetricsF metrics(font);
    QRectF badge = metrics.boundingRect(text).adjusted(-6, -2, 6, 2);
    badge.moveCenter(QPointF(box.center().x(), box.top() + badge.height() / 2 + 2));
    painter.fillRect(badge, QColor(0x20, 0x20, 0x20));
    painter.setPen(QPen(QColor(0xFF, 0xC4, 0x00)));
    painter.drawText(badge, Qt::AlignCenter, text);
    painter.restore();
}

bool TallyState::hasDarkSurround() const
{
    return palette().color(backgroundRole()).lightness() < 128;
}

QColor TallyState::glanceableFrameColor() const
{
    // Half the frame lies outside the lamp, on its surround: it must stand
    // out there too, or on the big view's dark a live lamp's solid frame and
    // a preview lamp's dashes vanish and only the colour is left.
    return hasDarkSurround() ? QColor(Qt::white) : QColor(Qt::black);
}

QColor TallyState::glanceableTextColor() const
{
    if (mode != Mode::off) {
        return QColor(Qt::black);
    }
    // An unlit lamp shows its surround: its number stays readable in a gray
    // that stands out from it, light on the big view's dark, dark on a
    // window's light gray.
    return hasDarkSurround() ? QColor(0xA0, 0xA0, 0xA0) : QColor(0x50, 0x50, 0x50);
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
    const QFont font = labelFont();
    const QFontMetricsF metrics(font);
    const QRectF box = labelRect(metrics);
    painter.setFont(font);
    painter.setPen(QPen(Qt::black));
    painter.drawText(QPointF(box.left(), box.bottom() - metrics.descent()), label(mode));

    // Centred on the bounds, so half of the line falls outside and is
    // clipped, as for any stroke of a view's own edge.
    painter.setPen(QPen(outlineColor));
    painter.setBrush(Qt::NoBrush);
    painter.drawPath(outline);
    paintMark(painter, outline);
}
