#include "tsl/TslTallyEncoding.h"

#include "tsl/TslUmd31.h"
#include "tsl/TslUmd50.h"

namespace {

QByteArray packet31(const LightState& light, int index, bool underTest)
{
    TslUmd31::Message message;
    message.address = index;
    message.tallies[0] = light.mode == TallyMode::live;
    message.tallies[1] = light.mode == TallyMode::preview;
    message.text = TslTallyEncoding::lightText(light, underTest);
    return TslUmd31::encode(message);
}

QByteArray packet50(const LightState& light, int index, bool underTest)
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
    display.text = TslTallyEncoding::lightText(light, underTest);
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

QString TslTallyEncoding::lightText(const LightState& light, bool underTest)
{
    const QString names = light.shotNames.join(QStringLiteral(" + "));
    if (!underTest) {
        return names;
    }
    return names.isEmpty() ? QStringLiteral("TEST") : QStringLiteral("TEST ") + names;
}

QList<QByteArray> TslTallyEncoding::packets(
    Version version, const QList<LightState>& lights, int offset, bool underTest)
{
    QList<QByteArray> result;
    result.reserve(lights.size());
    for (qsizetype i = 0; i < lights.size(); ++i) {
        const int index = static_cast<int>(i) + 1 + offset;
        result.append(
            version == Version::v31 ? packet31(lights[i], index, underTest) : packet50(lights[i], index, underTest));
    }
    return result;
}
