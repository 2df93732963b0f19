#pragma once

#include <QString>

// How an operation that can fail says why, everywhere in the program: it
// returns false (or an empty value) and, when the caller passed a place for
// it, puts the reason in words into problem. The words are the user's to
// read, on a status line, in a dialog or after the program's name on
// standard error; the caller adds where it happened.
//
// A file the user opened or saved reports an Error instead: the document
// layer's domain, code and description, which the file panels show.

// Puts text into problem when one was passed; false, for the caller to
// return.
inline bool reportProblem(QString* problem, const QString& text)
{
    if (problem != nullptr) {
        *problem = text;
    }
    return false;
}
