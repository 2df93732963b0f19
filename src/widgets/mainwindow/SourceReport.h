#pragma once

#include <QObject>
#include <QString>

class NetworkOutputs;
class ShotSource;
class TallyStatus;
class TallyTicker;

// What the window tells the operator about what it follows and what it
// feeds: after every tick it notes the source's state and the tally box in
// the status (the problems), and words the situation ("Following OBS Studio
// at 10.0.0.5:4455 · connected · Phones: 3 connected"); a listening source's
// news (a sender heard for the first time) is passed on as it comes. Words
// come from StatusWording in tallycore; this part only gathers the facts.
class SourceReport : public QObject {
    Q_OBJECT

public:
    SourceReport(const TallyTicker& ticker, const NetworkOutputs& outputs, TallyStatus& status);

    // The ticker is about to give up its source: that source's news is no
    // longer the window's (it lingers until the event loop deletes it).
    void leaveSource();
    // The ticker follows its source now: its news is listened to.
    void followSource();
    // After a tick that found the source running or not.
    void noteTick(bool sourceRunning);
    // Words the situation again (the outputs changed, or the first tick).
    void noteSituation();

    // Whether the operator said the studio has no tally box; the situation
    // says so while none is attached.
    void setNoTallyBox(bool noTallyBox);

    QString situation() const { return m_situation; }

Q_SIGNALS:
    // The window follows another source (its display name).
    void shotSourceFollowed(const QString& displayName);
    // A listener's own news (a sender heard, one refused), one line.
    void shotSourceStatusChanged(const QString& status);
    // The situation's words changed.
    void situationChanged(const QString& situation);

private:
    const TallyTicker& m_ticker;
    const NetworkOutputs& m_outputs;
    TallyStatus& m_status;
    bool m_sourceRunning = true;
    bool m_noTallyBox = false;
    QString m_situation;
};
