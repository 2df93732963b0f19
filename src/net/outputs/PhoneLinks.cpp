#include "outputs/PhoneLinks.h"

#include <QCoreApplication>

#include <algorithm>

QString PhoneLink::label() const
{
    return lightNumber == 0 ? QCoreApplication::translate("PhoneLink", "All lights")
                            : QCoreApplication::translate("PhoneLink", "Light %1").arg(lightNumber);
}

namespace PhoneLinks {

QList<PhoneLink> forPages(const QStringList& pageUrls, qsizetype lightCount)
{
    QList<PhoneLink> links;
    for (QString page : pageUrls) {
        if (!page.endsWith(QLatin1Char('/'))) {
            page += QLatin1Char('/');
        }
        links.append({ 0, page });
        for (int light = 1; light <= lightCount; ++light) {
            links.append({ light, page + QStringLiteral("light/%1").arg(light) });
        }
    }
    return links;
}

QStringList lines(const QList<PhoneLink>& links)
{
    if (links.isEmpty()) {
        return {};
    }
    qsizetype width = 0;
    for (const PhoneLink& link : links) {
        width = std::max(width, link.url.size());
    }
    QStringList lines { QCoreApplication::translate("PhoneLinks", "Phones can open the tally page at:") };
    for (const PhoneLink& link : links) {
        lines.append(QStringLiteral("  ") + link.url.leftJustified(width) + QStringLiteral("  ") + link.label());
    }
    return lines;
}

} // namespace PhoneLinks
