#pragma once

#include "labels/LampLabelLayout.h"
#include "model/TallyMode.h"
#include "tally/LampMark.h"

#include <QFont>
#include <QFontMetricsF>
#include <QRectF>
#include <QWidget>

// The on-screen indicator of one tally light: a rounded box filled red with
// "LIVE" when the light is on air, green with "PREVIEW" in preview, and only
// a gray outline when it is off. It draws and nothing else; the update tick
// writes mode and then asks for a redraw.
class TallyState : public QWidget {
    Q_OBJECT

public:
    using Mode = TallyMode;
    using Mark = LampMark;

    explicit TallyState(QWidget* parent = nullptr);

    // Writing the mode does not repaint: the picture changes at the next
    // redraw, which the owner requests with setNeedsDisplayInRect.
    Mode mode = Mode::off;

    void setNeedsDisplayInRect(const QRect& rect);

    // Where the current mode's label is drawn, in widget coordinates. A view
    // narrower than its label gets a negative x and the label is clipped at
    // both sides rather than shrunk.
    QRectF labelRect() const;

    static QString label(Mode mode);
    static QColor fillColor(Mode mode);
    static QFont labelFont();

    QSize sizeHint() const override;

    // The large style, for a lamp seen across a studio: the light's number
    // and its shots inside the lamp, text that grows with the lamp, and a
    // mark besides colour (a thick solid frame for LIVE, a dashed one for
    // PREVIEW) for operators who cannot tell red from green. Off by default:
    // the small style is the main window's. The big tally view, the main
    // window's large lamp labels and the test panel's lamps all draw it.
    bool glanceable = false;
    int lightNumber = 0;
    QString shotNames;
    // A mark over the lamp, besides colour, that its state is not the
    // switcher's now: "LOST" (with how long, in markDetail) over a hatched,
    // dimmed lamp while the source is lost; "TEST" while the test panel
    // drives the lights; "MISSING" (with the shots, in markDetail) over a
    // lamp whose colour is still true while some of its shots are not the
    // switcher's. None by default, as the plain window draws it.
    Mark mark = Mark::none;
    QString markDetail;
    // Sets the mark and its detail, redrawing only when either changed.
    void showMark(Mark newMark, const QString& detail);
    // The words the mark draws ("LOST 0:42", "TEST"), empty for none.
    QString markText() const;

    // Where the large style puts its text at the view's present size.
    LampLabelLayout glanceableLayout() const;
    // The pixel size of the large style's LIVE/PREVIEW label.
    int glanceableLabelPixelSize() const;
    // The large style's frame around a lit lamp: white on a dark surround
    // (the big view), black on a light one (the window).
    QColor glanceableFrameColor() const;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    // labelRect with the label font's metrics already at hand: a paint
    // needs them anyway, and looking the font up is most of a paint's cost.
    QRectF labelRect(const QFontMetricsF& metrics) const;
    void paintGlanceable(QPainter& painter);
    void paintMark(QPainter& painter, const QPainterPath& outline);
    void drawGlanceableLine(QPainter& painter, const LampLabelLayout::Line& line) const;
    QColor glanceableTextColor() const;
    bool hasDarkSurround() const;
};
