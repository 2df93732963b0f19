#include "mainwindow/StatusLine.h"

StatusLine::StatusLine(const QString& sourceName, QWidget* parent)
    : QLabel(parent)
    , m_sourceName(sourceName)
{
    setObjectName(QStringLiteral("statusLine"));
    setTextFormat(Qt::PlainText);
    showProblems(QString());
}

void StatusLine::showProblems(const QString& problems)
{
    m_showsProblem = !problems.isEmpty();
    if (!m_showsProblem) {
        setText(tr("Lights follow %1").arg(m_sourceName));
        setStyleSheet(QString());
        setToolTip(QString());
        return;
    }
    // A warning sign as well as the colour: the line must read as a problem
    // to an operator who does not see red.
    setText(QStringLiteral("⚠ ") + problems);
    setStyleSheet(QStringLiteral("QLabel { color: #b00000; font-weight: bold; }"));
    setToolTip(problems);
}
