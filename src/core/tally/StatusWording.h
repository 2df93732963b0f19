#pragma once

#include "sources/ShotSource.h"

#include <QString>

#include <optional>

// The words of the status line for what the window follows and what it
// feeds, composed here so that they are the same wherever they are shown:
//   "Following OBS Studio at 10.0.0.5:4455 · connected"
//   "Listening for TSL 5.0 on port 8900 · last message 0.4 s ago from 10.0.0.7"
//   "Phones: 3 connected · TSL: 2 destinations"
namespace StatusWording {

// The outputs besides the window and the tally box that run now.
struct Outputs {
    // Pages open on phones while the web page is served; nothing while it
    // is not.
    std::optional<qsizetype> phonesConnected;
    // TSL UMD destinations the lights are sent to (3.1 and 5.0 together).
    qsizetype tslDestinations = 0;
    // MQTT brokers the lights are published to, and how many of them the
    // publisher is connected to now.
    qsizetype mqttBrokers = 0;
    qsizetype mqttConnected = 0;
    // The operator said the studio has no tally box and none is attached:
    // the lights reach the floor only through the outputs above, which the
    // line says instead of leaving the box's absence unexplained.
    bool noTallyBox = false;
};

// The source and its state. running and shotCount are what the last tick
// learned; a source with a link or a listener says how that is instead of
// counting shots.
QString source(const ShotSource::Details& details, bool running, qsizetype shotCount);

// The outputs that run, and the box's absence when there is meant to be
// none; empty when there is nothing to say.
QString outputs(const Outputs& outputs);

// The source, then the outputs that run.
QString situation(const QString& source, const QString& outputs);

// A time gone by, as short as reads well: "0.4 s" below ten seconds,
// "12 s" below a minute, "3 min" after.
QString elapsed(qint64 milliseconds);

} // namespace StatusWording
