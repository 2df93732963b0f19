#pragma once

// The built ATEM stand-in (bin/atem-standin), on a free UDP port. It starts
// with nothing on its buses; the tests that follow a studio start it with
// Camera 1 on program and Camera 2 on preview (studioStart()).

#include "support/SwitcherStandinProcess.h"

class AtemStandinProcess : public SwitcherStandinProcess {
public:
    explicit AtemStandinProcess(QString inputs = QStringLiteral("Camera 1,Camera 2,Wide"))
        : SwitcherStandinProcess(
            { QStringLiteral("atem-standin"), QStringLiteral("UDP"), QStringLiteral("atem") }, std::move(inputs))
    {
        setOptions(studioStart());
    }

    // Camera 1 on program, Camera 2 on preview, from the start.
    static QStringList studioStart()
    {
        return { QStringLiteral("--program"), QStringLiteral("1"), QStringLiteral("--preview"), QStringLiteral("2") };
    }
};
