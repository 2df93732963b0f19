#include "tsl/TslTallyEncoding.h"

#include "tsl/TslUmd31.h"
#include "tsl/TslUmd50.h"

namespace {

QByteArray packet31(const LightState& light, int index, TslTallyEncoding::Mark mark)
{
    TslUmd31::Message message;
    message.address = index;
    message.tallies[0] = light.mode == TallyMode::live;
    message.tallies[1] = light.mode == TallyMode::preview;
    message.text = TslTallyEncoding::lightText(light, mark);
    return TslUmd31::encode(message);
}

QByteArray packet50(const LightState& light, int index, TslTallyEncoding::Mark mark)
{
    TslUmd50::Colour colour = TslUmd50::Colour::off;
    if (light.mode == TallyMode::live) {
        colour = TslUmd50::Colour::red;
    } else if (light.mode == TallyMode::preview) {
        colour = TslUmd50::Colour::green;
    }
    TslUmd50::Display display;
    display.index = index;
    display.leftTally = colour;
    display.rightTally = colour;
    display.textTally = colour;
    display.text = TslTallyEncoding::lightText(light, mark);
    TslUmd50::Packet packet;
    packet.unicode = true;
    packet.displays.append(display);
    return TslUmd50::encode(packet);
}

} // namespace

int TslTallyEncoding::maxOffset(Version version, qsizetype lightCount)
{
    const int highestIndex = version == Version::v31 ? TslUmd31::maxAddress : TslUmd50::broadcastIndex - 1;
    return highestIndex - static_cast<int>(lightCount);
}

TslTallyEncoding::Mark TslTallyEncoding::markFor(const TallySnapshot& snapshot, const LightState& light)
{
    if (snapshot.underTest) {
        return Mark::test;
    }
    if (snapshot.switcherUnknownFor(light)) {
        return Mark::lost;
    }
    if (snapshot.turnedOffAtQuit || light.missingShots.isEmpty()) {
        return Mark::none;
    }
    return Mark::missing;
}

QString TslTallyEncoding::lightText(const LightState& light, Mark mark)
{
    const QString separator = QStringLiteral(" + ");
    switch (mark) {
    case Mark::none:
        return light.shotNames.join(separator);
    case Mark::missing:
        return QStringLiteral("MISSING ") + light.missingShots.join(separator);
    case Mark::test:
    case Mark::lost:
        break;
    }
    const QString names = light.shotNames.join(separator);
    const QString word = mark == Mark::test ? QStringLiteral("TEST") : QStringLiteral("LOST");
    return names.isEmpty() ? word : word + QLatin1Char(' ') + names;
}

QList<QByteArray> TslTallyEncoding::packets(Version version, const TallySnapshot& snapshot, int offset)
{
    QList<QByteArray> result;
    result.reserve(snapshot.lights.size());
    for (qsizetype i = 0; i < snapshot.lights.size(); ++i) {
        const int index = static_cast<int>(i) + 1 + offset;
        const LightState& light = snapshot.lights[i];
        const Mark mark = markFor(snapshot, light);
        result.append(version == Version::v31 ? packet31(light, index, mark) : packet50(light, index, mark));
    }
    return result;
}
