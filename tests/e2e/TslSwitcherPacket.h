#pragma once

// Camera 1 and Camera 2 on displays 1 and 2, as a TSL 5.0 switcher says
// them: red is on air, green in preview.

#include "tsl/TslUmd50.h"

#include <tuple>

inline QByteArray switcherPacket(TslUmd50::Colour camera1, TslUmd50::Colour camera2)
{
    TslUmd50::Packet packet;
    for (const auto& [index, colour, name] :
        { std::tuple { 1, camera1, "Camera 1" }, std::tuple { 2, camera2, "Camera 2" } }) {
        TslUmd50::Display display;
        display.index = index;
        display.leftTally = colour;
        display.text = QString::fromLatin1(name);
        packet.displays.append(display);
    }
    return TslUmd50::encode(packet);
}
