#pragma once

// What Mixdesk's query answers, written as the query prints it, for the
// tests and the benchmarks of reading it: shots "Camera N — wide" with ids
// 1 to shots, shot 3 live and shot 4 on preview, one line.

#include "link/AppleEventDescriptor.h"
#include "link/AppleScriptNotationWriter.h"

#include <QByteArray>
#include <QList>

namespace QueryAnswers {

inline QByteArray answerOf(int shots)
{
    QList<AppleEventDescriptor> records;
    for (int i = 1; i <= shots; ++i) {
        records.append(AppleEventDescriptor::userRecord({ { "shotId", AppleEventDescriptor::text(QString::number(i)) },
            { "shotName", AppleEventDescriptor::text(QStringLiteral("Camera %1 — wide").arg(i)) },
            { "isLive", AppleEventDescriptor::boolean(i == 3) },
            { "isPreview", AppleEventDescriptor::boolean(i == 4) } }));
    }
    return AppleScriptNotationWriter::write(AppleEventDescriptor::list(records)).toUtf8() + '\n';
}

} // namespace QueryAnswers
