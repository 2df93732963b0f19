#pragma once

// A cycle observer that records everything the cycle shows and sends, in
// one ordered log, so that the order of indicator updates and bytes can be
// checked.

#include "tally/TallyCycle.h"
#include "tallymap/TallyMap.h"

#include <QList>
#include <QStringList>

#include <optional>

class RecordingObserver : public TallyCycle::Observer {
public:
    explicit RecordingObserver(qsizetype indicators = TallyMap::numberOfLights)
        : modes(indicators, TallyMode::off)
        , m_indicators(indicators)
    {
    }

    void setMixdeskWarningHidden(bool hidden) override
    {
        warningHidden = hidden;
        log.append(hidden ? QStringLiteral("warning hidden") : QStringLiteral("warning shown"));
    }

    void setEnableEditing(bool enabled) override
    {
        enableEditing = enabled;
        log.append(QStringLiteral("enableEditing %1").arg(enabled));
    }

    void refreshAssignmentTitles() override
    {
        ++titleRefreshes;
        log.append(QStringLiteral("titles"));
    }

    qsizetype indicatorCount() const override { return m_indicators; }

    void showLightMode(qsizetype lightIndex, TallyMode mode) override
    {
        modes[lightIndex] = mode;
        log.append(QStringLiteral("show %1 %2").arg(lightIndex).arg(int(mode)));
    }

    void send(quint8 byte)
    {
        bytes.append(byte);
        log.append(QStringLiteral("send %1").arg(byte, 2, 16, QLatin1Char('0')));
    }

    std::optional<bool> warningHidden;
    bool enableEditing = false;
    int titleRefreshes = 0;
    QList<TallyMode> modes;
    QList<quint8> bytes;
    QStringList log;

private:
    qsizetype m_indicators;
};
