#include "mainwindow/SourceWarning.h"

#include "sources/ShotSource.h"
#include "tally/TallyTicker.h"

SourceWarning::SourceWarning(QLabel* label, const TallyTicker& ticker)
    : m_label(label)
    , m_ticker(ticker)
{
    if (m_label) {
        m_label->hide();
    }
}

void SourceWarning::followSource()
{
    if (m_label) {
        m_label->setText(m_ticker.source().notRunningWarning());
    }
}

void SourceWarning::setHidden(bool hidden)
{
    m_sourceRunning = hidden;
    if (!m_label) {
        return;
    }
    // A source may say why it is not running in other words as things
    // change (nothing heard, or nothing that lights a display).
    if (!hidden) {
        followSource();
    }
    m_label->setHidden(hidden);
}
