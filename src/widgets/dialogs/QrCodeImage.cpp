#include "dialogs/QrCodeImage.h"

#include "outputs/QrCode.h"

#include <QPainter>

#include <algorithm>

QImage QrCodeImage::render(const QrCode& code, int modulePixels)
{
    const int modules = code.size() + 2 * QrCode::quietZone;
    const int side = modules * modulePixels;
    QImage image(side, side, QImage::Format_RGB32);
    image.fill(Qt::white);
    QPainter painter(&image);
    for (int y = 0; y < code.size(); ++y) {
        for (int x = 0; x < code.size(); ++x) {
            if (code.isDark(x, y)) {
                painter.fillRect((x + QrCode::quietZone) * modulePixels, (y + QrCode::quietZone) * modulePixels,
                    modulePixels, modulePixels, Qt::black);
            }
        }
    }
    return image;
}

int QrCodeImage::modulePixelsToFit(const QrCode& code, int sidePixels)
{
    return std::max(1, sidePixels / (code.size() + 2 * QrCode::quietZone));
}
