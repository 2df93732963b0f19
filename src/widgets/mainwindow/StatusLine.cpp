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
    problemsLabel = plainLabel(QStringLiteral("statusProblems"), this);
    // A warning sign as well as the colour: the line must read as a problem
    // to an operator who does not see red.
    problemsLabel->setStyleSheet(QStringLiteral("QLabel { color: #b00000; font-weight: bold; }"));
    situationLabel = plainLabel(QStringLiteral("statusSituation"), this);
    layout->addWidget(problemsLabel);
    layout->addWidget(situationLabel, 1);
    // Until the first tick says more.
    showSituation(tr("Following %1").arg(sourceName));
    showProblems(QString());
}

void StatusLine::showProblems(const QString& problems)
{
    m_showsProblem = !problems.isEmpty();
    problemsLabel->setText(m_showsProblem ? QStringLiteral("⚠ ") + problems : QString());
    problemsLabel->setToolTip(problems);
    problemsLabel->setVisible(m_showsProblem);
}

void StatusLine::showSituation(const QString& situation)
{
    if (situationLabel->text() != situation) {
        situationLabel->setText(situation);
    }
}

QString StatusLine::text() const
{
    return m_showsProblem ? problemsLabel->text() + QStringLiteral("  ") + situationLabel->text()
                          : situationLabel->text();
}
