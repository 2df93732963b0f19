#include "base/Text.h"

namespace Text {

QString canonical(const QString& text)
{
    return text.normalized(QString::NormalizationForm_C);
}

bool equal(const QString& a, const QString& b)
{
    // Most names are plain ASCII and already equal or already different in
    // length-and-content; only normalise when the quick answer is "no".
    if (a == b) {
        return true;
    }
    return canonical(a) == canonical(b);
}

QString literalMnemonicText(const QString& name)
{
    QString text = name;
    return text.replace(QLatin1Char('&'), QLatin1String("&&"));
}

QString fromLiteralMnemonicText(const QString& text)
{
    QString name = text;
    return name.replace(QLatin1String("&&"), QLatin1String("&"));
}

QList<QChar> mnemonicsOf(const QString& text)
{
    QList<QChar> marked;
    for (qsizetype i = 0; i + 1 < text.size(); ++i) {
        if (text.at(i) != QLatin1Char('&')) {
            continue;
        }
        ++i; // "&&" is a plain "&"; "&x" marks x
        if (text.at(i) != QLatin1Char('&')) {
            marked.append(text.at(i).toUpper());
        }
    }
    return marked;
}

QString literalWindowTitle(const QString& name)
{
    QString title = name;
    return title.replace(QLatin1String("[*]"), QLatin1String("[*][*]"));
}

QString shownWindowTitle(const QString& title)
{
    static const QString placeholder = QStringLiteral("[*]");
    QString shown;
    qsizetype from = 0;
    while (true) {
        const qsizetype at = title.indexOf(placeholder, from);
        if (at < 0) {
            return shown + title.mid(from);
        }
        shown += title.mid(from, at - from);
        from = at + placeholder.size();
        if (title.mid(from, placeholder.size()) == placeholder) {
            shown += placeholder;
            from += placeholder.size();
        }
    }
}

QString measurablePrefix(const QString& text, qsizetype limit)
{
    if (text.size() <= limit) {
        return text;
    }
    qsizetype end = limit;
    if (end > 0 && text.at(end - 1).isHighSurrogate()) {
        --end;
    }
    return text.left(end);
}

QString middleElided(const QString& text, qsizetype longest)
{
    return text.size() <= longest ? text : text.left(longest / 2) + QStringLiteral("…") + text.right(longest / 2);
}

} // namespace Text
