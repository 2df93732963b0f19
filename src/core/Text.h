#pragma once

#include <QString>

// Shot names and identifiers compare as case-sensitive text under Unicode
// canonical equivalence: a precomposed "é" and "e" + combining acute are the
// same name. Dictionaries keyed by names or ids use canonical() as the key.
namespace Text {

QString canonical(const QString& text);
bool equal(const QString& a, const QString& b);

} // namespace Text
