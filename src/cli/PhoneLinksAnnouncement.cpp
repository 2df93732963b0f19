#include "PhoneLinksAnnouncement.h"

#include "outputs/QrCode.h"

namespace PhoneLinksAnnouncement {

QStringList lines(const QList<PhoneLink>& links, bool toTerminal)
{
    QStringList lines = PhoneLinks::lines(links);
    if (!toTerminal) {
        return lines;
    }
    for (const PhoneLink& link : links) {
        if (link.lightNumber != 0) {
            continue;
        }
        const std::optional<QrCode> code = QrCode::encode(link.url);
        if (!code) {
            continue;
        }
        lines.append(link.url);
        QString picture = code->terminalText();
        picture.chop(1); // each line is printed with its own line break
        lines.append(picture.split(QLatin1Char('\n')));
    }
    return lines;
}

} // namespace PhoneLinksAnnouncement
