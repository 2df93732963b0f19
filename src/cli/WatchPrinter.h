#pragma once

#include "app/TallyCycle.h"

#include <QList>
#include <QString>

#include <optional>

// What tallyctl watch shows of the update cycle: a line when the switcher
// starts or stops running ("Mixdesk running", "Mixdesk not running", or with
// the name of the chosen source), a line when a
// light changes mode ("Light 3: live"), and a line when renamed shots change
// the assignments. The first tick prints the whole state.
class WatchPrinter : public TallyCycle::Observer {
public:
    explicit WatchPrinter(qsizetype lightCount, QString sourceName = QStringLiteral("Mixdesk"));

    void setMixdeskWarningHidden(bool hidden) override;
    void setEnableEditing(bool enabled) override;
    void refreshAssignmentTitles() override;
    qsizetype indicatorCount() const override;
    void showLightMode(qsizetype lightIndex, TallyMode mode) override;

private:
    QString m_sourceName;
    std::optional<bool> m_running;
    QList<std::optional<TallyMode>> m_modes;
};
