#pragma once

#include <QLabel>

// The line at the foot of the main window: what stands between the operator
// and working lights, in words, or that the lights follow the switcher and
// the switcher's latest news (a new TSL sender heard, a connection made).
class StatusLine : public QLabel {
    Q_OBJECT

public:
    explicit StatusLine(const QString& sourceName, QWidget* parent = nullptr);

    // Shows the problems (empty: none).
    void showProblems(const QString& problems);
    // The lights follow another source now; its news so far is forgotten.
    void followSource(const QString& sourceName);
    // The source's latest news, shown beside "Lights follow" while nothing
    // is wrong.
    void showSourceStatus(const QString& status);
    bool showsProblem() const { return m_showsProblem; }

private:
    void redraw();

    QString m_sourceName;
    QString m_sourceStatus;
    QString m_problems;
    bool m_showsProblem = false;
};
