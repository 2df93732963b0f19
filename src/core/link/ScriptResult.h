#pragma once

#include "link/AppleEventDescriptor.h"

#include <QString>
#include <QVariantMap>

// Error information of a failed script run: a dictionary holding the message
// and the number under these two keys.
using ScriptErrorInformation = QVariantMap;

inline const QString NSAppleScriptErrorMessage = QStringLiteral("NSAppleScriptErrorMessage");
inline const QString NSAppleScriptErrorNumber = QStringLiteral("NSAppleScriptErrorNumber");

ScriptErrorInformation scriptErrorInformation(const QString& message, int number);

// The dictionary on one line, keys in order, texts quoted with '"' and '\'
// escaped by a backslash (and line breaks written as \n, to stay on one line):
// {NSAppleScriptErrorMessage = "Mixdesk got an error."; NSAppleScriptErrorNumber = -1728;}
QString describeErrorInformation(const ScriptErrorInformation& information);

// What running a script gives: its result, or error information.
class ScriptResult {
public:
    static ScriptResult success(AppleEventDescriptor descriptor);
    static ScriptResult failure(ScriptErrorInformation information);

    bool isError() const { return m_isError; }
    const AppleEventDescriptor& descriptor() const { return m_descriptor; }
    const ScriptErrorInformation& errorInformation() const { return m_errorInformation; }

private:
    bool m_isError = false;
    AppleEventDescriptor m_descriptor;
    ScriptErrorInformation m_errorInformation;
};
