#pragma once

#include <QLabel>
#include <QPointer>
#include <QWidget>

// The line at the foot of the main window. It always says what the window
// follows and how that is, and which outputs run ("Following OBS Studio at
// 10.0.0.5:4455 · connected · Phones: 3 connected"); before that, in red
// with a warning sign, whatever stands between the operator and working
// lights.
//
// The line fits the window at any width the window can take and never makes
// the window wider: what does not fit is cut with an ellipsis, the problems
// keeping their room before the situation, and each part's tooltip holds
// its whole text.
class StatusLine : public QWidget {
    Q_OBJECT

public:
    explicit StatusLine(const QString& sourceName, QWidget* parent = nullptr);

    // Shows the problems (empty: none).
    void showProblems(const QString& problems);
    bool showsProblem() const { return !m_problems.isEmpty(); }
    // Shows the source, its state and the outputs, in words.
    void showSituation(const QString& situation);
    // The lights follow another source now; its news so far is forgotten.
    void followSource();
    // The source's latest news (a new TSL sender heard), shown after the
    // situation until the source has more to say or another is followed.
    void showSourceStatus(const QString& status);

    // The whole line, uncut: the problems first, when there are any.
    QString text() const;

    // The whole width the line would like; it makes do with none.
    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

protected:
    void resizeEvent(QResizeEvent* event) override;
    void changeEvent(QEvent* event) override;

private:
    QString problemsText() const;
    QString situationText() const;
    void showTexts();
    // Places the two parts side by side in the width there is, each cut to
    // what it is given.
    void fitTexts();

    QPointer<QLabel> m_problemsLabel;
    QPointer<QLabel> m_situationLabel;
    QString m_problems;
    QString m_situation;
    QString m_sourceNews;
};
