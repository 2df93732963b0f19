#pragma once

#include "model/TallySnapshot.h"

#include <QByteArray>
#include <QString>

// What the web tally page says about the lights, in the forms it serves.
namespace WebTallyDocument {

// The state as JSON, the body of /api/lights and of every WebSocket message:
// {"sourceRunning": true, "test": false, "lights": [...]}, each light in the
// form LightJson gives every output. "test" is true while the test panel
// drives the box, and the modes are then the box's.
QByteArray stateJson(const TallySnapshot& snapshot);

// The list page: the page template with each light as a link to its own page.
QByteArray indexPage(const QString& pageTemplate, const TallySnapshot& snapshot);

// One light's page: the page template with the light's number filled in.
QByteArray lightPage(const QString& pageTemplate, int lightNumber);

// The light number in a /light/N path, or 0 when it names no light.
int lightNumberFromPath(const QString& number, qsizetype lightCount);

} // namespace WebTallyDocument
