#pragma once

#include <QString>

// Error information of a failed read or write, in the shape that the desktop
// reports to the user: a domain, a code and a one-line description.
struct Error {
    QString domain;
    qint64 code = 0;
    QString localizedDescription;
    // The line of a file the failure was found on, counted from 1; 0 when it
    // is not about one line (the file cannot be opened, or is not UTF-8).
    // Kept apart from the description, which stays the reader's own words.
    qsizetype line = 0;
};

inline const QString NSOSStatusErrorDomain = QStringLiteral("NSOSStatusErrorDomain");
