#include "outputs/QrCode.h"

#include <qrencode.h>

#include <memory>

std::optional<QrCode> QrCode::encode(const QString& text)
{
    const QByteArray utf8 = text.toUtf8();
    // Byte mode throughout: the whole address is read back as typed.
    const std::unique_ptr<QRcode, decltype(&QRcode_free)> made(
        QRcode_encodeString8bit(utf8.constData(), 0, QR_ECLEVEL_M), &QRcode_free);
    if (!made || made->width <= 0) {
        return std::nullopt;
    }
    const int size = made->width;
    QByteArray modules(qsizetype(size) * size, '\0');
    for (qsizetype index = 0; index < modules.size(); ++index) {
        // Bit 0 is the module's colour; the others say what it is part of.
        modules[index] = char(made->data[index] & 1);
    }
    return QrCode(size, std::move(modules));
}

QrCode::QrCode(int size, QByteArray modules)
    : m_size(size)
    , m_modules(std::move(modules))
{
}

bool QrCode::isDark(int x, int y) const
{
    if (x < 0 || y < 0 || x >= m_size || y >= m_size) {
        return false;
    }
    return m_modules.at(qsizetype(y) * m_size + x) != 0;
}

QString QrCode::terminalText() const
{
    static const QString black_on_white = QStringLiteral("\x1b[30;47m");
    static const QString plain = QStringLiteral("\x1b[0m");
    const int first = -quietZone;
    const int end = m_size + quietZone;
    QString text;
    for (int y = first; y < end; y += 2) {
        text += black_on_white;
        for (int x = first; x < end; ++x) {
            const bool top = isDark(x, y);
            const bool bottom = isDark(x, y + 1);
            if (top && bottom) {
                text += QChar(0x2588); // full block
            } else if (top) {
                text += QChar(0x2580); // upper half block
            } else if (bottom) {
                text += QChar(0x2584); // lower half block
            } else {
                text += QLatin1Char(' ');
            }
        }
        text += plain + QLatin1Char('\n');
    }
    return text;
}
