#pragma once

#include "model/Shot.h"

// A switcher's outputs as shots: whether it is recording, streaming or
// feeding its virtual camera, so that an on-air sign or a REC lamp over the
// door is assigned to a light like any camera. The names are the same on
// every switcher and are never translated: a tally map written for one
// switcher works with another.
//
// Their ids open with idMark followed by a letter. No source gives a picture
// source such an id (ATEM inputs are numbers; OBS Studio doubles a leading
// idMark, see pictureId), so a scene or input of the same name is still a
// shot of its own in the editor. Lights still match by name: a light given
// "Recording" is live while either is.
namespace OnAirShot {

enum class Output {
    recording,
    streaming,
    virtualCamera,
};

// The character that opens every on-air id.
inline constexpr QChar idMark = QLatin1Char('@');

inline QString nameOf(Output output)
{
    switch (output) {
    case Output::recording:
        return QStringLiteral("Recording");
    case Output::streaming:
        return QStringLiteral("Streaming");
    case Output::virtualCamera:
        return QStringLiteral("Virtual Camera");
    }
    return QString();
}

inline QString idOf(Output output)
{
    switch (output) {
    case Output::recording:
        return QStringLiteral("@recording");
    case Output::streaming:
        return QStringLiteral("@streaming");
    case Output::virtualCamera:
        return QStringLiteral("@virtual-camera");
    }
    return QString();
}

// The id a camera, scene or input keeps beside the outputs: one that opens
// with the mark gets one more, which no output's id has, so a scene called
// "@recording" never takes the recording's id.
inline QString pictureId(const QString& id)
{
    return id.startsWith(idMark) ? idMark + id : id;
}

// A new record for the output, live while it is active. An output is never
// in preview.
inline ShotPtr make(Output output, bool active)
{
    auto shot = std::make_shared<Shot>(nameOf(output));
    shot->shotId = idOf(output);
    shot->isLive = active;
    shot->isOnAirState = true;
    return shot;
}

} // namespace OnAirShot
