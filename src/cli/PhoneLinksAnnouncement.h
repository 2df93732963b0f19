#pragma once

#include "outputs/PhoneLinks.h"

#include <QStringList>

// What tallyctl watch says when it starts serving the web tally page: the
// addresses phones open, one a line, then, for a person at a terminal, a QR
// code of each address's list of lights to scan from the screen. A QR code
// is never written into a file or a pipe, where it would only be noise.
namespace PhoneLinksAnnouncement {

QStringList lines(const QList<PhoneLink>& links, bool toTerminal);

} // namespace PhoneLinksAnnouncement
