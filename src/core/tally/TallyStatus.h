#pragma once

#include "model/TallySnapshot.h"

#include <QDateTime>
#include <QObject>
#include <QString>
#include <QStringList>

#include <functional>

// What stands between the operator and working lights, in words, for the
// window's status line: the switcher missing or answering with no shots, no
// tally box, the box refusing writes, the last file that could not be
// opened or saved, a saved output that could not start. The cycle reports every tick; the text (and the line in
// the system log) changes only when the situation does, so a problem that
// lasts an hour leaves one log line, not fourteen thousand.
//
// The first seconds after start are the program settling, not failing: the
// switcher is being connected to and the box matched. A problem then shows
// at once in the text, but reaches the log only if it outlasts them (stamped
// with when it began), and "Lights working again" is logged only after a
// problem was.
class TallyStatus : public QObject {
    Q_OBJECT

public:
    using Log = std::function<void(const QString&)>;
    using Clock = std::function<QDateTime()>;

    // How long after start a problem may last without being logged.
    static constexpr qint64 settlingMs = 5000;

    // The log defaults to the system log, the clock to local time.
    explicit TallyStatus(Log log = {}, Clock clock = {}, QObject* parent = nullptr);

    // After every tick: whether the source was there, and if so how many
    // shots it gave; notRunning is the source's own warning.
    void noteTick(bool sourceRunning, qsizetype shotCount, const QString& sourceName, const QString& notRunning);
    // The tally box now: attached or not, and whether its last write failed.
    void noteDevice(bool attached, bool writeFailing);
    // Whether the studio has a tally box at all (true unless the operator
    // said otherwise). Without one, lights shown only on phones, TSL or MQTT
    // are working lights: an absent box is no problem then. A box that is
    // there and refuses its bytes still is.
    void setTallyBoxWanted(bool wanted);
    // A file that could not be opened or saved, until the next one that
    // could.
    void noteDocumentFailure(const QString& what, const QString& path, const QString& reason);
    void noteDocumentSuccess();
    // The Open Recent list could not be stored at path.
    void noteRecentDocumentsFailure(const QString& path, const QString& reason);
    // What the light report says beyond the modes: the lights under test
    // ("Testing lights", first of all: no light shows the switcher then),
    // and the assigned shots the source lacks, with their lights.
    void noteLightReport(const TallySnapshot& snapshot);
    // Outputs besides the window and the box (the web page, TSL) that
    // should run and do not, in words; empty when they all run.
    void noteOutputs(const QString& problem);

    // The problems now, most urgent first; empty when the lights work.
    QString text() const { return m_text; }

Q_SIGNALS:
    void changed(const QString& text);

private:
    void update();
    // Logs the text unless it is already logged or the program is still
    // settling.
    void logSettledText(const QDateTime& now);

    Log m_log;
    Clock m_clock;
    QString m_testProblem;
    QString m_missingProblem;
    QDateTime m_settledAt;
    // When the text became what it is.
    QDateTime m_textSince;
    QString m_loggedText;
    QString m_sourceProblem;
    QString m_deviceProblem;
    bool m_tallyBoxWanted = true;
    bool m_boxAttached = true;
    bool m_boxWriteFailing = false;
    QString m_documentProblem;
    QString m_outputsProblem;
    QString m_text;
};
