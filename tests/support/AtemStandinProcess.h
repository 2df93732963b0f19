#pragma once

// The built ATEM stand-in (bin/atem-standin), on a free UDP port.

#include "support/SwitcherStandinProcess.h"

class AtemStandinProcess : public SwitcherStandinProcess {
public:
    explicit AtemStandinProcess(QString inputs = QStringLiteral("Camera 1,Camera 2,Wide"))
        : SwitcherStandinProcess(
            { QStringLiteral("atem-standin"), QStringLiteral("UDP"), QStringLiteral("atem") }, std::move(inputs))
    {
    }
};
