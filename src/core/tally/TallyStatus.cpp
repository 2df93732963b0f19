#include "tally/TallyStatus.h"

#include "base/SystemLog.h"

#include <QFileInfo>

TallyStatus::TallyStatus(Log log, Clock clock, QObject* parent)
    : QObject(parent)
    , m_log(log ? std::move(log) : Log(systemLog))
    , m_clock(clock ? std::move(clock) : Clock(&QDateTime::currentDateTime))
    , m_settledAt(m_clock().addMSecs(settlingMs))
{
}

void TallyStatus::noteTick(
    bool sourceRunning, qsizetype shotCount, const QString& sourceName, const QString& notRunning)
{
    if (!sourceRunning) {
        m_sourceProblem = notRunning;
    } else if (shotCount == 0) {
        // The query gives no reason the cycle could pass on: every failure
        // is an empty answer, and the lights go off.
        m_sourceProblem
            = tr("%1 gives no shots (its query is failing or it has none): every light is off").arg(sourceName);
    } else {
        m_sourceProblem.clear();
    }
    update();
}

void TallyStatus::noteDevice(bool attached, bool writeFailing)
{
    m_boxAttached = attached;
    m_boxWriteFailing = writeFailing;
    if (!attached && !m_tallyBoxWanted) {
        m_deviceProblem.clear();
    } else if (!attached) {
        m_deviceProblem = tr("No tally box attached");
    } else if (writeFailing) {
        m_deviceProblem = tr("The tally box refuses the lights' bytes");
    } else {
        m_deviceProblem.clear();
    }
    update();
}

void TallyStatus::setTallyBoxWanted(bool wanted)
{
    m_tallyBoxWanted = wanted;
    noteDevice(m_boxAttached, m_boxWriteFailing);
}

void TallyStatus::noteDocumentFailure(const QString& what, const QString& path, const QString& reason)
{
    m_documentProblem = tr("Could not %1 %2: %3").arg(what, QFileInfo(path).fileName(), reason);
    update();
}

void TallyStatus::noteRecentDocumentsFailure(const QString& path, const QString& reason)
{
    m_documentProblem = tr("Could not update the Open Recent list in %1: %2").arg(path, reason);
    update();
}

void TallyStatus::noteDocumentSuccess()
{
    m_documentProblem.clear();
    update();
}

void TallyStatus::noteOutputs(const QString& problem)
{
    m_outputsProblem = problem;
    update();
}

void TallyStatus::noteLightReport(const TallySnapshot& snapshot)
{
    m_testProblem = snapshot.underTest ? tr("Testing lights") : QString();
    QStringList missing;
    for (qsizetype index = 0; index < snapshot.lights.size(); ++index) {
        for (const QString& shot : snapshot.lights[index].missingShots) {
            missing.append(tr("\"%1\" (light %2)").arg(shot).arg(index + 1));
        }
    }
    m_missingProblem = missing.isEmpty()
        ? QString()
        : tr("Assigned shots the source does not have: %1").arg(missing.join(QStringLiteral(", ")));
    update();
}

void TallyStatus::update()
{
    QStringList problems;
    for (const QString* problem : { &m_testProblem, &m_sourceProblem, &m_missingProblem, &m_deviceProblem,
             &m_documentProblem, &m_outputsProblem }) {
        if (!problem->isEmpty()) {
            problems.append(*problem);
        }
    }
    const QString text = problems.join(QStringLiteral(" · "));
    const QDateTime now = m_clock();
    // A problem from the start that is still there has outlasted the
    // settling: it is logged as what it was before the change.
    logSettledText(now);
    if (text == m_text) {
        return;
    }
    m_text = text;
    m_textSince = now;
    logSettledText(now);
    Q_EMIT changed(text);
}

void TallyStatus::logSettledText(const QDateTime& now)
{
    if (now < m_settledAt || m_text == m_loggedText) {
        return;
    }
    const QString stamp = m_textSince.toString(Qt::ISODate);
    m_log(stamp + QLatin1Char(' ') + (m_text.isEmpty() ? tr("Lights working again") : m_text));
    m_loggedText = m_text;
}
