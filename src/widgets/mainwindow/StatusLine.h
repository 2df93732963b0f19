#pragma once

#include <QLabel>

// The line at the foot of the main window: what stands between the operator
// and working lights, in words, or that the lights follow the switcher.
class StatusLine : public QLabel {
    Q_OBJECT

public:
    explicit StatusLine(const QString& sourceName, QWidget* parent = nullptr);

    // Shows the problems (empty: none).
    void showProblems(const QString& problems);
    bool showsProblem() const { return m_showsProblem; }

private:
    QString m_sourceName;
    bool m_showsProblem = false;
};
