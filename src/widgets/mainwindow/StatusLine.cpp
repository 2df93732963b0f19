#include "mainwindow/StatusLine.h"

#include <QEvent>
#include <QFontMetrics>

#include <algorithm>
#include <cmath>

namespace {

// Between the problems and the situation.
constexpr int partGap = 12;

QLabel* plainLabel(const QString& name, QWidget* parent)
{
    auto* label = new QLabel(parent);
    label->setObjectName(name);
    label->setTextFormat(Qt::PlainText);
    label->setWordWrap(false);
    return label;
}

// Rounded up: elidedText cuts a text whose fractional width exceeds the
// width it is given by a hair.
int naturalWidth(const QLabel& label, const QString& text)
{
    return text.isEmpty() ? 0 : static_cast<int>(std::ceil(QFontMetricsF(label.font()).horizontalAdvance(text)));
}

// Shows as much of text as fits width, cut with an ellipsis.
void showCut(QLabel& label, const QString& text, int width)
{
    const QString shown = QFontMetrics(label.font()).elidedText(text, Qt::ElideRight, std::max(width, 0));
    if (label.text() != shown) {
        label.setText(shown);
    }
}

} // namespace

StatusLine::StatusLine(const QString& sourceName, QWidget* parent)
    : QWidget(parent)
{
    setObjectName(QStringLiteral("statusLine"));
    setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);
    m_problemsLabel = plainLabel(QStringLiteral("statusProblems"), this);
    // A warning sign as well as the colour: the line must read as a problem
    // to an operator who does not see red.
    m_problemsLabel->setStyleSheet(QStringLiteral("QLabel { color: #b00000; }"));
    QFont bold = m_problemsLabel->font();
    bold.setBold(true);
    m_problemsLabel->setFont(bold);
    m_situationLabel = plainLabel(QStringLiteral("statusSituation"), this);
    // Until the first tick says more.
    m_situation = tr("Following %1").arg(sourceName);
    showTexts();
}

void StatusLine::showProblems(const QString& problems)
{
    m_problems = problems;
    showTexts();
}

void StatusLine::showSituation(const QString& situation)
{
    m_situation = situation;
    showTexts();
}

void StatusLine::followSource()
{
    m_sourceNews.clear();
    showTexts();
}

void StatusLine::showSourceStatus(const QString& status)
{
    m_sourceNews = status;
    showTexts();
}

QString StatusLine::problemsText() const
{
    return m_problems.isEmpty() ? QString() : QStringLiteral("⚠ ") + m_problems;
}

QString StatusLine::situationText() const
{
    return m_sourceNews.isEmpty() ? m_situation : m_situation + QStringLiteral(" · ") + m_sourceNews;
}

QString StatusLine::text() const
{
    return showsProblem() ? problemsText() + QStringLiteral("  ") + situationText() : situationText();
}

void StatusLine::showTexts()
{
    m_problemsLabel->setToolTip(problemsText());
    m_problemsLabel->setVisible(showsProblem());
    m_situationLabel->setToolTip(situationText());
    fitTexts();
    updateGeometry();
}

QSize StatusLine::sizeHint() const
{
    const int gap = showsProblem() ? partGap : 0;
    const int width
        = naturalWidth(*m_problemsLabel, problemsText()) + gap + naturalWidth(*m_situationLabel, situationText());
    return { width, minimumSizeHint().height() };
}

QSize StatusLine::minimumSizeHint() const
{
    const int height
        = std::max(QFontMetrics(m_problemsLabel->font()).height(), QFontMetrics(m_situationLabel->font()).height());
    return { 0, height };
}

void StatusLine::resizeEvent(QResizeEvent* event)
{
    QWidget::resizeEvent(event);
    fitTexts();
}

void StatusLine::changeEvent(QEvent* event)
{
    QWidget::changeEvent(event);
    if (event->type() == QEvent::FontChange || event->type() == QEvent::StyleChange) {
        fitTexts();
        updateGeometry();
    }
}

void StatusLine::fitTexts()
{
    const QRect area = contentsRect();
    int left = area.left();
    int room = area.width();
    if (showsProblem()) {
        const QString problems = problemsText();
        const int width = std::min(naturalWidth(*m_problemsLabel, problems), room);
        showCut(*m_problemsLabel, problems, width);
        m_problemsLabel->setGeometry(left, area.top(), width, area.height());
        left += width + partGap;
        room -= width + partGap;
    }
    const int width = std::max(room, 0);
    showCut(*m_situationLabel, situationText(), width);
    m_situationLabel->setGeometry(left, area.top(), width, area.height());
}
