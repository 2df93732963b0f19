#pragma once

// Every switcher the program follows and every output it drives, as a
// newcomer reading the package's description or a software centre's page
// looks for them.

#include <QStringList>

inline const QStringList sourcesAndOutputs { QStringLiteral("Mixdesk"), QStringLiteral("OBS Studio"),
    QStringLiteral("ATEM"), QStringLiteral("vMix"), QStringLiteral("TSL UMD"), QStringLiteral("USB"),
    QStringLiteral("tally box"), QStringLiteral("phones"), QStringLiteral("MQTT"), QStringLiteral("Art-Net"),
    QStringLiteral("sACN"), QStringLiteral("vMix-compatible") };
