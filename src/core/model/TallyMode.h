#pragma once

#include <QString>
#include <QtGlobal>

// What one tally light shows. The value is what is stored (one byte) and is
// the shared light mode of the whole program: the indicator draws it and the
// light command bytes are derived from it. TallyState::Mode names the same
// type on the widget side.
enum class TallyMode : quint8 {
    off = 0,
    preview = 1,
    live = 2,
};

// The word an indicator shows for the mode: "LIVE", "PREVIEW", or nothing
// for a dark light.
inline QString tallyModeLabel(TallyMode mode)
{
    switch (mode) {
    case TallyMode::live:
        return QStringLiteral("LIVE");
    case TallyMode::preview:
        return QStringLiteral("PREVIEW");
    case TallyMode::off:
        break;
    }
    return {};
}

// The mode as tallyctl and logs name it: "off", "preview" or "live".
inline QString tallyModeName(TallyMode mode)
{
    switch (mode) {
    case TallyMode::live:
        return QStringLiteral("live");
    case TallyMode::preview:
        return QStringLiteral("preview");
    case TallyMode::off:
        break;
    }
    return QStringLiteral("off");
}
