#include "link/AppleScriptNotationWriter.h"

namespace AppleScriptNotationWriter {

namespace {

void writeValue(const AppleEventDescriptor& value, QString& out);

void writeQuoted(const QString& text, QChar quote, QString& out)
{
    out.append(quote);
    for (const QChar c : text) {
        if (c == quote || c == QLatin1Char('\\')) {
            out.append(QLatin1Char('\\'));
        }
        out.append(c);
    }
    out.append(quote);
}

bool isPlainUserLabel(const QString& label)
{
    if (label.isEmpty() || label.compare(QLatin1String("class"), Qt::CaseInsensitive) == 0
        || label.compare(QLatin1String("name"), Qt::CaseInsensitive) == 0
        || label.compare(QLatin1String("id"), Qt::CaseInsensitive) == 0) {
        return false;
    }
    for (qsizetype i = 0; i < label.size(); ++i) {
        const char16_t c = label.at(i).unicode();
        const bool letter = (c >= u'a' && c <= u'z') || (c >= u'A' && c <= u'Z') || c == u'_';
        if (!letter && !(i > 0 && c >= u'0' && c <= u'9')) {
            return false;
        }
    }
    return true;
}

void writeUserLabel(const QString& label, QString& out)
{
    if (isPlainUserLabel(label)) {
        out.append(label);
    } else {
        writeQuoted(label, QLatin1Char('|'), out);
    }
}

void writeList(const QList<AppleEventDescriptor>& items, QString& out)
{
    out.append(QLatin1Char('{'));
    for (qsizetype i = 0; i < items.size(); ++i) {
        if (i > 0) {
            out.append(QLatin1String(", "));
        }
        writeValue(items.at(i), out);
    }
    out.append(QLatin1Char('}'));
}

void writeRecord(const AppleEventDescriptor& record, QString& out)
{
    out.append(QLatin1Char('{'));
    const QStringList& keywords = record.keywordLabels();
    bool first = true;
    for (qsizetype i = 0; i < keywords.size(); ++i) {
        out.append(first ? QLatin1String("") : QLatin1String(", "));
        first = false;
        out.append(keywords.at(i) + QLatin1Char(':'));
        writeValue(record.items().at(i), out);
    }
    for (const AppleEventDescriptor::Field& field : record.userFields()) {
        out.append(first ? QLatin1String("") : QLatin1String(", "));
        first = false;
        writeUserLabel(field.first, out);
        out.append(QLatin1Char(':'));
        writeValue(field.second, out);
    }
    out.append(QLatin1Char('}'));
}

void writeValue(const AppleEventDescriptor& value, QString& out)
{
    switch (value.kind()) {
    case AppleEventDescriptor::Kind::List:
        writeList(value.items(), out);
        break;
    case AppleEventDescriptor::Kind::Record:
        writeRecord(value, out);
        break;
    case AppleEventDescriptor::Kind::Text:
        writeQuoted(value.textOrSource(), QLatin1Char('"'), out);
        break;
    case AppleEventDescriptor::Kind::Boolean:
        out.append(value.boolean() ? QLatin1String("true") : QLatin1String("false"));
        break;
    case AppleEventDescriptor::Kind::Integer:
        out.append(QString::number(value.integer()));
        break;
    case AppleEventDescriptor::Kind::Real:
        out.append(AppleEventDescriptor::realNotation(value.real()));
        break;
    case AppleEventDescriptor::Kind::MissingValue:
        out.append(QLatin1String("missing value"));
        break;
    case AppleEventDescriptor::Kind::Opaque:
        out.append(value.textOrSource());
        break;
    }
}

} // namespace

QString write(const AppleEventDescriptor& value)
{
    QString out;
    writeValue(value, out);
    return out;
}

} // namespace AppleScriptNotationWriter
