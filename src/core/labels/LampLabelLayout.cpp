#include "labels/LampLabelLayout.h"

#include <algorithm>
#include <cmath>

namespace {

// Room left around the lamp inside its widget.
constexpr qreal lampMargin = 2.0;
// The least space above, between and below the lines.
constexpr int lineGap = 2;
// A line's height for its pixel size: the glyphs with their ascent and
// descent, as common sans fonts have them.
constexpr qreal lineSpacing = 1.25;
// Below this the number is no longer worth drawing.
constexpr int smallestNumberPixelSize = 6;
constexpr qreal largestCornerRadius = 10.0;
constexpr int thinnestLiveFrame = 4;
constexpr int thinnestPreviewFrame = 3;
// The widest a grown number's size may be, as a share of the text's width.
constexpr qreal numberWidthShare = 1.1;

int lineHeight(int pixelSize)
{
    return static_cast<int>(std::ceil(pixelSize * lineSpacing));
}

} // namespace

LampLabelLayout::LampLabelLayout(QSizeF widgetSize, int lightNumber, const QString& shotNames, TallyMode mode)
    : m_lampRect(QRectF(QPointF(0, 0), widgetSize).adjusted(lampMargin, lampMargin, -lampMargin, -lampMargin))
    , m_mode(mode)
{
    // Height for the three lines, width for the longest word: "PREVIEW" at
    // the unit fits an eighth of the width eight times over.
    m_unit = std::max(0, static_cast<int>(std::min(m_lampRect.height() / 6, m_lampRect.width() / 8)));
    const qreal frame = liveFrameWidth();
    m_textRect = m_lampRect.adjusted(frame, frame, -frame, -frame);
    if (!m_textRect.isValid()) {
        m_textRect = QRectF(m_lampRect.center(), QSizeF(0, 0));
    }
    m_textUnit = fittingTextUnit();
    place(fittingSlots(), lightNumber, shotNames);
}

qreal LampLabelLayout::cornerRadius() const
{
    return std::min(largestCornerRadius, m_lampRect.height() / 4);
}

int LampLabelLayout::labelPixelSize() const
{
    return std::max(minimumPixelSize, m_textUnit);
}

std::optional<LampLabelLayout::Line> LampLabelLayout::line(Role role) const
{
    for (const Line& each : m_lines) {
        if (each.role == role) {
            return each;
        }
    }
    return std::nullopt;
}

qreal LampLabelLayout::frameWidth() const
{
    switch (m_mode) {
    case TallyMode::live:
        return liveFrameWidth();
    case TallyMode::preview:
        return std::max(thinnestPreviewFrame, m_unit / 4);
    case TallyMode::off:
        break;
    }
    return 1.0;
}

Qt::PenStyle LampLabelLayout::frameStyle() const
{
    return m_mode == TallyMode::preview ? Qt::DashLine : Qt::SolidLine;
}

qreal LampLabelLayout::liveFrameWidth() const
{
    // The text keeps clear of the thickest frame whatever the mode, so that
    // it stays put when the mode changes.
    return std::max(thinnestLiveFrame, m_unit / 3);
}

int LampLabelLayout::minimumLampHeight()
{
    const int text = 2 * lineHeight(minimumAddedPixelSize) + lineHeight(minimumPixelSize) + 4 * lineGap;
    return static_cast<int>(std::ceil(text + 2 * (lampMargin + thinnestLiveFrame)));
}

int LampLabelLayout::naturalLampHeight()
{
    int text = 4 * lineGap;
    for (const Slot& slot : allLines(minimumPixelSize)) {
        text += lineHeight(slot.pixelSize);
    }
    return static_cast<int>(std::ceil(text + 2 * (lampMargin + thinnestLiveFrame)));
}

// The three lines in their proportions at `unit`: the number twice the
// mode's word, the shots three quarters of it, none below its floor.
QList<LampLabelLayout::Slot> LampLabelLayout::allLines(int unit)
{
    return {
        { Role::number, std::max(minimumAddedPixelSize, 2 * unit), 1 },
        { Role::shots, std::max(minimumAddedPixelSize, unit * 3 / 4), 1 },
        { Role::mode, std::max(minimumPixelSize, unit), 1 },
    };
}

int LampLabelLayout::fittingTextUnit() const
{
    // The floors of the number and the shots weigh more in a low lamp than
    // the lamp's own scale allows for: the text then takes a smaller scale,
    // down to the mode word's floor, before the number gives up its share.
    int unit = m_unit;
    while (unit > minimumPixelSize && !fits(allLines(unit))) {
        --unit;
    }
    return unit;
}

QList<LampLabelLayout::Slot> LampLabelLayout::fittingSlots() const
{
    const QList<Slot> all = allLines(m_textUnit);
    const QList<QList<Slot>> choices { all, all.mid(0, 2), all.mid(0, 1) };
    for (QList<Slot> slots : choices) {
        if (fits(slots)) {
            // Room to spare goes to a second line of shots first, then to
            // the number.
            if (slots.size() > 1) {
                slots[1].lines = 2;
                if (!fits(slots)) {
                    slots[1].lines = 1;
                }
            }
            growNumber(slots);
            return slots;
        }
        // Then the number gives up its extra size before a line is dropped.
        int others = 0;
        for (qsizetype index = 1; index < slots.size(); ++index) {
            others += lineHeight(slots[index].pixelSize) * slots[index].lines;
        }
        const qreal room = m_textRect.height() - lineGap * (slots.size() + 1) - others;
        const int shrunk = static_cast<int>(std::floor(room / lineSpacing));
        const int least = slots.size() > 1 ? minimumAddedPixelSize : smallestNumberPixelSize;
        if (shrunk >= least) {
            slots[0].pixelSize = std::min(slots[0].pixelSize, shrunk);
            return slots;
        }
    }
    return {};
}

void LampLabelLayout::growNumber(QList<Slot>& slots) const
{
    // A tall lamp (a maximised window, the big tally view) has height to
    // spare: the number is what is read from across the studio, so it takes
    // half of that spare height, keeping the rest as air between the lines,
    // and never grows wider than the lamp (a digit is about 0.6 of its size;
    // "8" at the cap still leaves a margin on both sides).
    int used = lineGap * static_cast<int>(slots.size() + 1);
    for (const Slot& slot : slots) {
        used += lineHeight(slot.pixelSize) * slot.lines;
    }
    const qreal spare = m_textRect.height() - used;
    const int byHeight = slots[0].pixelSize + static_cast<int>(std::floor(spare / 2 / lineSpacing));
    const int byWidth = static_cast<int>(m_textRect.width() * numberWidthShare);
    slots[0].pixelSize = std::max(slots[0].pixelSize, std::min(byHeight, byWidth));
}

bool LampLabelLayout::fits(const QList<Slot>& slots) const
{
    int height = lineGap * static_cast<int>(slots.size() + 1);
    for (const Slot& slot : slots) {
        height += lineHeight(slot.pixelSize) * slot.lines;
    }
    return height <= m_textRect.height();
}

void LampLabelLayout::place(const QList<Slot>& slots, int lightNumber, const QString& shotNames)
{
    qreal used = 0;
    for (const Slot& slot : slots) {
        used += lineHeight(slot.pixelSize) * slot.lines;
    }
    // The spare height is shared out evenly above, between and below.
    const qreal gap = (m_textRect.height() - used) / static_cast<qreal>(slots.size() + 1);
    qreal top = m_textRect.top() + gap;
    for (const Slot& slot : slots) {
        Line placed;
        placed.role = slot.role;
        placed.pixelSize = slot.pixelSize;
        placed.maximumLines = slot.lines;
        placed.bold = slot.role != Role::shots;
        const qreal height = lineHeight(slot.pixelSize) * slot.lines;
        placed.box = QRectF(m_textRect.left(), top, m_textRect.width(), height);
        switch (slot.role) {
        case Role::number:
            placed.text = lightNumber > 0 ? QString::number(lightNumber) : QString();
            break;
        case Role::shots:
            placed.text = shotNames;
            break;
        case Role::mode:
            placed.text = tallyModeLabel(m_mode);
            break;
        }
        m_lines.append(placed);
        top += height + gap;
    }
}
