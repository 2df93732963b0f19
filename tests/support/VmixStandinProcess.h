#pragma once

// The built vMix stand-in (bin/vmix-standin), on a free TCP port.

#include "support/SwitcherStandinProcess.h"

class VmixStandinProcess : public SwitcherStandinProcess {
public:
    explicit VmixStandinProcess(QString inputs = QStringLiteral("Camera 1,Camera 2,Wide"))
        : SwitcherStandinProcess(
            { QStringLiteral("vmix-standin"), QStringLiteral("TCP"), QStringLiteral("vmix") }, std::move(inputs))
    {
    }
};
