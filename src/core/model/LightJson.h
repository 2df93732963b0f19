#pragma once

#include "model/TallySnapshot.h"

#include <QJsonObject>
#include <QStringList>

// The one JSON form of a light, shared by everything that tells a program
// about the lights (tallyctl's --json output, the phone page's /api/lights
// and WebSocket, the MQTT topics), so that a script written against one
// reads them all:
//
//   {"light": 1, "mode": "live", "shots": ["Camera 1", "Wide"],
//    "litBy": ["Camera 1"], "missing": []}
//
// "light" is the light's number as the window and the box count it (from 1);
// "shots" the names assigned to it, in the map's order; "mode" live, preview
// or off; "litBy" the assigned shots that give it that mode (empty when off
// or when the test panel set it); "missing" the assigned shots the switcher
// does not have; "lost": true, only when so, for a light that rests on one
// of several switchers that is lost while others run. Each place adds its own fields to the object (an event
// name, a time, a state word); none renames these.
namespace LightJson {

// A light whose mode is not known: a tally map read without a switcher.
// Only "light" and "shots".
QJsonObject assigned(int lightNumber, const QStringList& shotNames);

// A light as a tick left it: every field above.
QJsonObject fromState(int lightNumber, const LightState& light);

} // namespace LightJson
