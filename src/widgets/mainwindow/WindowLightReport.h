#pragma once

#include "model/TallySnapshot.h"
#include "tally/TallyOutput.h"

#include <QObject>

class LampRow;
class TallyStatus;

// The window's reading of the light report that every output gets after a
// tick: the lamps' marks (a lost source marked on the main window's lamps
// only when the operator chose View > Mark Lamps While Source Is Lost; a test
// always), the missing shots flagged under their lights, and the status
// line's "Testing lights" and missing shots. Big Tally listens to reported().
class WindowLightReport : public QObject, public TallyOutput {
    Q_OBJECT

public:
    WindowLightReport(LampRow& lamps, TallyStatus& status, QObject* parent = nullptr);

    void publish(const TallySnapshot& snapshot) override;

    // Off by default: the warning under the lamps says the source is lost,
    // and the lamps keep their last colour unmarked.
    void setMarkLampsWhileLost(bool mark);
    bool marksLampsWhileLost() const { return m_markLost; }

    const TallySnapshot& lastReport() const { return m_last; }

Q_SIGNALS:
    // After every report; nowMilliseconds is the report's clock now, for the
    // time a source has been lost.
    void reported(const TallySnapshot& snapshot, qint64 nowMilliseconds);

private:
    void showMarks();

    LampRow& m_lamps;
    TallyStatus& m_status;
    TallySnapshot m_last;
    bool m_markLost = false;
};
