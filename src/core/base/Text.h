#pragma once

#include <QChar>
#include <QList>
#include <QString>

// Shot names and identifiers compare as case-sensitive text under Unicode
// canonical equivalence: a precomposed "é" and "e" + combining acute are the
// same name. Dictionaries keyed by names or ids use canonical() as the key.
namespace Text {

QString canonical(const QString& text);
bool equal(const QString& a, const QString& b);

// A name as the text of a button, check box or menu item, where "&" marks
// the keyboard shortcut letter: every "&" doubled, so that "Q&A Panel"
// shows as it is and makes no shortcut.
QString literalMnemonicText(const QString& name);
// The reverse, for code that measures or cuts such a text.
QString fromLiteralMnemonicText(const QString& text);

// The keyboard shortcut letters such a text marks, in order, upper-cased
// (Alt+b and Alt+B are one key): none for plain text, more than one for a
// text that marks a second by mistake. A "&" at the very end marks nothing.
QList<QChar> mnemonicsOf(const QString& text);

// A file name as a window title, where "[*]" stands for the modified marker:
// each one doubled, so that a file named "take[*].tlx" keeps its name.
QString literalWindowTitle(const QString& name);

// What a window shows of such a title: "[*][*]" as "[*]", a lone "[*]" (the
// modified marker's place) left out. For a window that puts its own marker
// on its native title.
QString shownWindowTitle(const QString& title);

// At most `limit` UTF-16 units of text, never cutting a character in two:
// enough to fill any widget, however long the name.
QString measurablePrefix(const QString& text, qsizetype limit);

// Text quoted in a message: one longer than `longest` keeps its first and
// last longest / 2 units around a "…", so that a pasted 70 KB address does
// not push the reason off the operator's screen.
QString middleElided(const QString& text, qsizetype longest);

} // namespace Text
