#include "hardware/LightCommandMirror.h"

#include "hardware/LightCommand.h"

bool LightCommandMirror::apply(quint8 byte)
{
    const int command = byte & 0xF0;
    const int lightNumber = byte & 0x0F;
    switch (command) {
    case LightCommand::programOn:
        return lightNumber == 0 ? clearChannel(&Lamps::program) : setChannel(lightNumber, &Lamps::program, true);
    case LightCommand::previewOn:
        return lightNumber == 0 ? clearChannel(&Lamps::preview) : setChannel(lightNumber, &Lamps::preview, true);
    case LightCommand::programOff:
        return setChannel(lightNumber, &Lamps::program, false);
    case LightCommand::previewOff:
        return setChannel(lightNumber, &Lamps::preview, false);
    default:
        return false;
    }
}

LightCommandMirror::Lamps LightCommandMirror::lamps(int lightIndex) const
{
    if (lightIndex < 0 || lightIndex >= numberOfLights) {
        return {};
    }
    return m_lights[static_cast<std::size_t>(lightIndex)];
}

TallyMode LightCommandMirror::mode(int lightIndex) const
{
    const Lamps light = lamps(lightIndex);
    if (light.program) {
        return TallyMode::live;
    }
    return light.preview ? TallyMode::preview : TallyMode::off;
}

void LightCommandMirror::reset()
{
    m_lights = {};
}

bool LightCommandMirror::setChannel(int lightNumber, bool Lamps::*channel, bool on)
{
    // Light 0 is no light for an off command, and the box has no lights
    // past the eighth.
    if (lightNumber < 1 || lightNumber > numberOfLights) {
        return false;
    }
    bool& lamp = m_lights[static_cast<std::size_t>(lightNumber - 1)].*channel;
    const bool changed = lamp != on;
    lamp = on;
    return changed;
}

bool LightCommandMirror::clearChannel(bool Lamps::*channel)
{
    bool changed = false;
    for (Lamps& light : m_lights) {
        changed = changed || light.*channel;
        light.*channel = false;
    }
    return changed;
}
