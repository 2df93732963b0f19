#pragma once

#include "model/Shot.h"
#include "tallymap/TallyMap.h"

#include <QByteArray>
#include <QString>

#include <functional>
#include <optional>

// What tallyctl's commands read from the user: tally map files and query
// answers. The program itself stops on a map line naming a light it does not
// have, or on an answer of the wrong shape; here they come from a person, so
// each problem becomes a message instead.
namespace CommandInputs {

// The map in the file, or nothing with the reason in failure. A problem in
// the file's contents is told the way compilers tell them, so that editors
// and people find the line: "studio.tlx:3: Unable to parse tally index".
std::optional<TallyMap> readTallyMap(const QString& path, QString* problem);

// "path:line: message", or "path: message" when line is 0.
QString located(const QString& path, qsizetype line, const QString& message);

// The bytes of the file, or of standard input when path is empty.
std::optional<QByteArray> readFileOrStandardInput(const QString& path, QString* problem);

// The shots of a query answer in AppleScript source notation. Unknown labels
// go to the callback, in order.
std::optional<ShotList> decodeAnswer(
    const QByteArray& answer, const std::function<void(const QString& label)>& unexpectedLabel, QString* problem);

} // namespace CommandInputs
