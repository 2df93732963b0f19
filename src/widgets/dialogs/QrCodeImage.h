#pragma once

#include <QImage>

class QrCode;

// A QR code as a picture: black modules on white, with the light margin a
// reader needs, each module a square of modulePixels pixels so that edges
// stay sharp at any size.
class QrCodeImage {
public:
    static QImage render(const QrCode& code, int modulePixels);
    // The largest whole module size that fits the code, margin included,
    // into sidePixels; at least 1.
    static int modulePixelsToFit(const QrCode& code, int sidePixels);
};
