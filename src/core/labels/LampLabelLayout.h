#pragma once

#include "model/TallyMode.h"

#include <QList>
#include <QRectF>
#include <QSizeF>
#include <QString>
#include <Qt>

#include <optional>

// Where the large style of a lamp puts its text, and how big: the light's
// number, its shots and the mode's word, stacked in that order, every size
// following the lamp's own size so that a larger lamp reads from further
// away. A lamp too small for all three keeps what matters most: the number,
// then the shots. The mode's word goes first because the frame tells live
// from preview as well (a thick solid frame for LIVE, a dashed one for
// PREVIEW), for operators who cannot tell red from green.
//
// A line's place depends on the lamp's size only, not on its text or the
// mode: a light that goes live does not see its number jump. A line with
// empty text (a dark light's mode, a light without shots) keeps its place
// and shows nothing.
//
// Pure arithmetic in pixels, so that it is tested without a font or a
// screen; the painter measures glyphs only to elide the shots.
class LampLabelLayout {
public:
    enum class Role {
        number,
        shots,
        mode,
    };

    struct Line {
        Role role;
        QString text;
        int pixelSize = 0;
        bool bold = false;
        // The shots may wrap onto a second line where the lamp has room.
        int maximumLines = 1;
        QRectF box;
    };

    // The mode's word is never drawn smaller than the small style's label,
    // the LIVE / PREVIEW every lamp of the plain window shows.
    static constexpr int minimumPixelSize = 12;
    // The number and the shots are what only this style adds, and what an
    // operator reads from a distance: never smaller than this while they
    // share the lamp with another line. A lamp that cannot hold even the
    // number at that size shows the number alone, as large as it fits.
    static constexpr int minimumAddedPixelSize = 18;

    LampLabelLayout(QSizeF widgetSize, int lightNumber, const QString& shotNames, TallyMode mode);

    // The rounded lamp, a little inside the widget so that a thick frame
    // is not cut at the widget's edge.
    QRectF lampRect() const { return m_lampRect; }
    qreal cornerRadius() const;
    // Inside the thickest frame: the text never runs under it.
    QRectF textRect() const { return m_textRect; }

    // The size of the mode's word, the unit the other sizes follow.
    int labelPixelSize() const;

    const QList<Line>& lines() const { return m_lines; }
    std::optional<Line> line(Role role) const;

    // The frame: the non-colour mark of the mode. Off keeps the thin gray
    // outline of the small style.
    qreal frameWidth() const;
    Qt::PenStyle frameStyle() const;

    // The smallest widget height that holds all three lines at their
    // smallest sizes.
    static int minimumLampHeight();
    // The smallest widget height that shows all three lines in their full
    // proportions, the number twice the size of the mode's word, at the
    // smallest sizes: the least a window should give a lamp that has the
    // width for it.
    static int naturalLampHeight();

private:
    struct Slot {
        Role role;
        int pixelSize;
        int lines;
    };

    qreal liveFrameWidth() const;
    static QList<Slot> allLines(int unit);
    int fittingTextUnit() const;
    QList<Slot> fittingSlots() const;
    void growNumber(QList<Slot>& slots) const;
    bool fits(const QList<Slot>& slots) const;
    void place(const QList<Slot>& slots, int lightNumber, const QString& shotNames);

    QRectF m_lampRect;
    QRectF m_textRect;
    TallyMode m_mode;
    // The lamp's scale, which the frames follow.
    int m_unit = 0;
    // The scale of the text: the lamp's, or less where the lamp is too low
    // for all three lines in their proportions at its own scale.
    int m_textUnit = 0;
    QList<Line> m_lines;
};
