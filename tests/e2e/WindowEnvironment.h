#pragma once

// The variables that keep a whole run of the built mixdesk-tally to a home
// of its own: HOME and the settings folder there, the offscreen platform and
// the capture tally box at capture, so that no run touches the user's
// settings, desktop or tally box. For the tests (WindowHome) and the
// benchmarks alike.

#include <QProcessEnvironment>
#include <QString>

inline QProcessEnvironment windowEnvironment(
    QProcessEnvironment base, const QString& home, const QString& settingsFolder, const QString& capture)
{
    base.insert(QStringLiteral("HOME"), home);
    base.insert(QStringLiteral("XDG_CONFIG_HOME"), settingsFolder);
    base.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("offscreen"));
    base.insert(QStringLiteral("MIXDESK_TALLY_HID_CAPTURE"), capture);
    return base;
}
