#include "AnswerWriter.h"

#include "base/Problem.h"
#include "base/SmallFile.h"
#include "base/StandardOutput.h"
#include "link/AppleScriptNotationWriter.h"

#include <QFile>
#include <QStringList>

namespace {

// One shot as the production application reports it: a record of
// user-defined labels only.
AppleEventDescriptor record(const ShowModel::Shot& shot)
{
    return AppleEventDescriptor::userRecord({
        { QStringLiteral("shotId"), AppleEventDescriptor::text(QString::number(shot.id)) },
        { QStringLiteral("shotName"), AppleEventDescriptor::text(shot.name) },
        { QStringLiteral("isLive"), AppleEventDescriptor::boolean(shot.isLive) },
        { QStringLiteral("isPreview"), AppleEventDescriptor::boolean(shot.isPreview) },
    });
}

} // namespace

AnswerWriter::AnswerWriter(QString path, QObject* parent)
    : QObject(parent)
    , m_path(std::move(path))
{
}

AnswerWriter::~AnswerWriter()
{
    withdraw();
}

QString AnswerWriter::notation(const QList<ShowModel::Shot>& shots)
{
    QList<AppleEventDescriptor> records;
    records.reserve(shots.size());
    for (const ShowModel::Shot& shot : shots) {
        records.append(record(shot));
    }
    // osascript ends what it prints with a line break; so does the answer.
    return AppleScriptNotationWriter::write(AppleEventDescriptor::list(records)) + QLatin1Char('\n');
}

bool AnswerWriter::write(const QList<ShowModel::Shot>& shots, QString* problem)
{
    // A full disk keeps the previous answer in place rather than leaving a
    // cut-off one that a reader would take for garbage.
    QString reason;
    if (!SmallFile::write(m_path, notation(shots).toUtf8(), &reason)) {
        return reportProblem(problem, QStringLiteral("cannot write %1: %2").arg(m_path, reason));
    }
    m_written = true;
    return true;
}

bool AnswerWriter::follow(const ShowModel& model, QString* problem)
{
    connect(&model, &ShowModel::changed, this, [this, &model] {
        QString failure;
        if (!write(model.shots(), &failure)) {
            printErrorLine(QStringLiteral("mixdesk: ") + failure);
        }
    });
    return write(model.shots(), problem);
}

void AnswerWriter::withdraw()
{
    if (m_written) {
        QFile::remove(m_path);
        m_written = false;
    }
}
