#pragma once

#include <QList>
#include <QString>
#include <QStringList>

// The addresses a phone opens to become a tally: for every address the web
// page can be reached at, the list of lights ("/") and each light's own page
// ("/light/N"), in that order.
struct PhoneLink {
    // 0 for the list of lights, else the light's number (1 to 8).
    int lightNumber = 0;
    QString url;

    // "All lights", "Light 3".
    QString label() const;

    friend bool operator==(const PhoneLink&, const PhoneLink&) = default;
};

namespace PhoneLinks {

// pageUrls: the page's root addresses, "http://ADDRESS:PORT/", one per
// address it can be reached at (WebTallyServer::pageUrls).
QList<PhoneLink> forPages(const QStringList& pageUrls, qsizetype lightCount);

// The links as lines for a terminal: a heading, then one line a link, the
// address first and what it opens after it.
QStringList lines(const QList<PhoneLink>& links);

} // namespace PhoneLinks
