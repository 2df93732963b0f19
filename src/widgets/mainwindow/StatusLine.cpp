#include "mainwindow/StatusLine.h"

#include <QHBoxLayout>

namespace {

QLabel* plainLabel(const QString& name, QWidget* parent)
{
    auto* label = new QLabel(parent);
    label->setObjectName(name);
    label->setTextFormat(Qt::PlainText);
    return label;
}

} // namespace

StatusLine::StatusLine(const QString& sourceName, QWidget* parent)
    : QWidget(parent)
{
    setObjectName(QStringLiteral("statusLine"));
    auto* layout = new QHBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    m_problemsLabel = plainLabel(QStringLiteral("statusProblems"), this);
    // A warning sign as well as the colour: the line must read as a problem
    // to an operator who does not see red.
    m_problemsLabel->setStyleSheet(QStringLiteral("QLabel { color: #b00000; font-weight: bold; }"));
    m_situationLabel = plainLabel(QStringLiteral("statusSituation"), this);
    layout->addWidget(m_problemsLabel);
    layout->addWidget(m_situationLabel, 1);
    // Until the first tick says more.
    showSituation(tr("Following %1").arg(sourceName));
    showProblems(QString());
}

void StatusLine::showProblems(const QString& problems)
{
    m_showsProblem = !problems.isEmpty();
    m_problemsLabel->setText(m_showsProblem ? QStringLiteral("⚠ ") + problems : QString());
    m_problemsLabel->setToolTip(problems);
    m_problemsLabel->setVisible(m_showsProblem);
}

void StatusLine::showSituation(const QString& situation)
{
    m_situation = situation;
    showSituationAndNews();
}

void StatusLine::followSource()
{
    m_sourceNews.clear();
    showSituationAndNews();
}

void StatusLine::showSourceStatus(const QString& status)
{
    m_sourceNews = status;
    showSituationAndNews();
}

void StatusLine::showSituationAndNews()
{
    const QString line = m_sourceNews.isEmpty() ? m_situation : m_situation + QStringLiteral(" · ") + m_sourceNews;
    if (m_situationLabel->text() != line) {
        m_situationLabel->setText(line);
    }
    m_situationLabel->setToolTip(m_sourceNews);
}

QString StatusLine::text() const
{
    return m_showsProblem ? m_problemsLabel->text() + QStringLiteral("  ") + m_situationLabel->text()
                          : m_situationLabel->text();
}
