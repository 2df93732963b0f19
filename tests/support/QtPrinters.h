#pragma once

// Lets gtest print Qt values in failure messages. Include in every test that
// compares Qt types.

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <ostream>

inline void PrintTo(const QString& text, std::ostream* out)
{
    *out << '"' << text.toStdString() << '"';
}

inline void PrintTo(const QByteArray& bytes, std::ostream* out)
{
    *out << "QByteArray(hex " << bytes.toHex(' ').toStdString() << ')';
}

inline void PrintTo(const QStringList& list, std::ostream* out)
{
    *out << '[';
    for (qsizetype i = 0; i < list.size(); ++i) {
        *out << (i ? ", " : "") << '"' << list.at(i).toStdString() << '"';
    }
    *out << ']';
}
