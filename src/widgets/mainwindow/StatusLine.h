#pragma once

#include <QLabel>
#include <QPointer>
#include <QWidget>

// The line at the foot of the main window. It always says what the window
// follows and how that is, and which outputs run ("Following OBS Studio at
// 10.0.0.5:4455 · connected · Phones: 3 connected"); before that, in red
// with a warning sign, whatever stands between the operator and working
// lights.
class StatusLine : public QWidget {
    Q_OBJECT

public:
    explicit StatusLine(const QString& sourceName, QWidget* parent = nullptr);

    // Shows the problems (empty: none).
    void showProblems(const QString& problems);
    bool showsProblem() const { return m_showsProblem; }
    // Shows the source, its state and the outputs, in words.
    void showSituation(const QString& situation);
    // The lights follow another source now; its news so far is forgotten.
    void followSource();
    // The source's latest news (a new TSL sender heard), shown after the
    // situation until the source has more to say or another is followed.
    void showSourceStatus(const QString& status);

    // The whole line as it reads: the problems first, when there are any.
    QString text() const;

private:
    void showSituationAndNews();

    QPointer<QLabel> m_problemsLabel;
    QPointer<QLabel> m_situationLabel;
    QString m_situation;
    QString m_sourceNews;
    bool m_showsProblem = false;
};
