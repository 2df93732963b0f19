#pragma once

#include <QByteArray>
#include <QString>

#include <optional>

// A QR code for a short text (a web page's address), made by libqrencode:
// a square of dark and light modules, without the light margin a reader
// needs around it (quietZone modules on every side). Medium error
// correction, so that a code shown on a screen still reads with a glare or
// a smudge on the camera.
class QrCode {
public:
    // The margin, in modules, that every picture of the code leaves light.
    static constexpr int quietZone = 4;

    // The code for text (UTF-8, case kept); nothing when the text is too
    // long for any QR code or libqrencode fails.
    static std::optional<QrCode> encode(const QString& text);

    // Modules on a side, margin not included.
    int size() const { return m_size; }
    // Whether the module in column x, row y is dark; outside the code (the
    // margin and beyond) is light.
    bool isDark(int x, int y) const;

    // The code drawn in a terminal, margin included: one line of text for
    // two rows of modules, with the half and full block characters, in
    // black on white whatever the terminal's own colours are. Lines end with
    // "\n".
    QString terminalText() const;

private:
    QrCode(int size, QByteArray modules);

    int m_size = 0;
    // One byte a module, row by row; 1 is dark.
    QByteArray m_modules;
};
