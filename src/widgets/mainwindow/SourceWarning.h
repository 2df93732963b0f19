#pragma once

#include <QLabel>
#include <QPointer>

class TallyTicker;

// The warning under the lamps that the switcher the window follows is not
// running ("Mixdesk is not running" for Mixdesk), in that source's words.
// Hidden from the start until a tick finds the source gone: shown before,
// it would flash for a quarter of a second on every start beside a running
// switcher. A layout without the label is tolerated; the facts are kept
// all the same.
class SourceWarning {
public:
    SourceWarning(QLabel* label, const TallyTicker& ticker);

    // The ticker follows another source: its words from now on.
    void followSource();
    // After a tick: hidden while the source runs, shown when it does not.
    void setHidden(bool hidden);
    // What the last tick found; true before the first.
    bool sourceRunning() const { return m_sourceRunning; }

    QLabel* label() const { return m_label; }

private:
    QPointer<QLabel> m_label;
    const TallyTicker& m_ticker;
    bool m_sourceRunning = true;
};
