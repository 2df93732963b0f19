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
    m_problems = problems;
    redraw();
}

void StatusLine::followSource(const QString& sourceName)
{
    m_sourceName = sourceName;
    m_sourceStatus.clear();
    redraw();
}

void StatusLine::showSourceStatus(const QString& status)
{
    m_sourceStatus = status;
    redraw();
}

void StatusLine::redraw()
{
    m_showsProblem = !m_problems.isEmpty();
    if (!m_showsProblem) {
        QString text = tr("Lights follow %1").arg(m_sourceName);
        if (!m_sourceStatus.isEmpty()) {
            text += QStringLiteral(" · ") + m_sourceStatus;
        }
        setText(text);
        setStyleSheet(QString());
        setToolTip(m_sourceStatus);
        return;
    }
    // A warning sign as well as the colour: the line must read as a problem
    // to an operator who does not see red.
    setText(QStringLiteral("⚠ ") + m_problems);
    setStyleSheet(QStringLiteral("QLabel { color: #b00000; font-weight: bold; }"));
    setToolTip(m_problems);
}
