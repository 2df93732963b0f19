#include "link/ScriptResult.h"

namespace {

QString quoted(const QString& text)
{
    QString out;
    out.reserve(text.size() + 2);
    out.append(QLatin1Char('"'));
    for (const QChar c : text) {
        if (c == QLatin1Char('"') || c == QLatin1Char('\\')) {
            out.append(QLatin1Char('\\')).append(c);
        } else if (c == QLatin1Char('\n')) {
            out.append(QLatin1String("\\n"));
        } else if (c == QLatin1Char('\r')) {
            out.append(QLatin1String("\\r"));
        } else {
            out.append(c);
        }
    }
    out.append(QLatin1Char('"'));
    return out;
}

QString describeValue(const QVariant& value)
{
    switch (value.typeId()) {
    case QMetaType::Int:
    case QMetaType::LongLong:
    case QMetaType::UInt:
    case QMetaType::ULongLong:
    case QMetaType::Double:
    case QMetaType::Bool:
        return value.toString();
    default:
        return quoted(value.toString());
    }
}

} // namespace

ScriptErrorInformation scriptErrorInformation(const QString& message, int number)
{
    return { { NSAppleScriptErrorMessage, message }, { NSAppleScriptErrorNumber, number } };
}

QString describeErrorInformation(const ScriptErrorInformation& information)
{
    QString line = QStringLiteral("{");
    for (auto it = information.cbegin(); it != information.cend(); ++it) {
        if (it != information.cbegin()) {
            line.append(QLatin1Char(' '));
        }
        line.append(it.key() + QLatin1String(" = ") + describeValue(it.value()) + QLatin1Char(';'));
    }
    line.append(QLatin1Char('}'));
    return line;
}

ScriptResult ScriptResult::success(AppleEventDescriptor descriptor)
{
    ScriptResult result;
    result.m_descriptor = std::move(descriptor);
    return result;
}

ScriptResult ScriptResult::failure(ScriptErrorInformation information)
{
    ScriptResult result;
    result.m_isError = true;
    result.m_errorInformation = std::move(information);
    return result;
}
