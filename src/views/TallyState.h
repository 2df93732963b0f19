#pragma once

#include "views/TallyMode.h"

#include <QFont>
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

protected:
    void paintEvent(QPaintEvent* event) override;
};
