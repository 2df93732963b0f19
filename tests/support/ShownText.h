#pragma once

// What a widget text shows on screen. In button, check box and menu texts
// "&&" is one "&" and a single "&" marks the next character as the keyboard
// shortcut, underlined but not itself shown.

#include <QList>
#include <QPainter>
#include <QProxyStyle>
#include <QString>
#include <QStyleFactory>

inline QString shownText(const QString& text)
{
    QString shown;
    for (qsizetype i = 0; i < text.size(); ++i) {
        if (text.at(i) == QLatin1Char('&') && i + 1 < text.size()) {
            ++i; // "&&" shows one "&"; "&x" shows "x"
        }
        shown += text.at(i);
    }
    return shown;
}

// A style that records every text it is asked to draw, as it is passed
// (mnemonic marks and all).
class TextRecordingStyle : public QProxyStyle {
public:
    TextRecordingStyle()
        : QProxyStyle(QStyleFactory::create(QStringLiteral("Fusion")))
    {
    }

    void drawItemText(QPainter* painter, const QRect& rect, int flags, const QPalette& palette, bool enabled,
        const QString& text, QPalette::ColorRole textRole) const override
    {
        drawn.append(text);
        QProxyStyle::drawItemText(painter, rect, flags, palette, enabled, text, textRole);
    }

    mutable QList<QString> drawn;
};
