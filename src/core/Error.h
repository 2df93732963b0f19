#pragma once

#include <QString>

// Error information of a failed read or write, in the shape that the desktop
// reports to the user: a domain, a code and a one-line description.
struct Error {
    QString domain;
    qint64 code = 0;
    QString localizedDescription;
};

inline const QString NSOSStatusErrorDomain = QStringLiteral("NSOSStatusErrorDomain");
