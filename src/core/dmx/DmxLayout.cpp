#include "dmx/DmxLayout.h"

#include "base/Problem.h"

std::optional<DmxLayout::Kind> DmxLayout::kindNamed(const QString& name)
{
    if (name == QLatin1String("rgb")) {
        return Kind::rgb;
    }
    if (name == QLatin1String("single")) {
        return Kind::single;
    }
    return std::nullopt;
}

QString DmxLayout::nameOf(Kind kind)
{
    return kind == Kind::rgb ? QStringLiteral("rgb") : QStringLiteral("single");
}

QStringList DmxLayout::kindNames()
{
    return { nameOf(Kind::rgb), nameOf(Kind::single) };
}

int DmxLayout::lastStartChannel(Kind kind, int lightCount)
{
    const int perLight = kind == Kind::rgb ? 3 : 1;
    return universeSize - perLight * lightCount + 1;
}

std::optional<DmxLayout> DmxLayout::make(Kind kind, int startChannel, int lightCount, QString* problem)
{
    const int last = lastStartChannel(kind, lightCount);
    if (startChannel < 1 || startChannel > last) {
        reportProblem(problem,
            QStringLiteral("the %1 lights take %2 channels in the %3 layout, so the first channel must be "
                           "between 1 and %4, not %5")
                .arg(lightCount)
                .arg((kind == Kind::rgb ? 3 : 1) * lightCount)
                .arg(nameOf(kind))
                .arg(last)
                .arg(startChannel));
        return std::nullopt;
    }
    return DmxLayout(kind, startChannel, lightCount);
}

DmxLayout::DmxLayout(Kind kind, int startChannel, int lightCount)
    : m_kind(kind)
    , m_startChannel(startChannel)
    , m_lightCount(lightCount)
{
}

QByteArray DmxLayout::levelsOf(TallyMode mode) const
{
    if (m_kind == Kind::single) {
        switch (mode) {
        case TallyMode::live:
            return QByteArray(1, char(255));
        case TallyMode::preview:
            return QByteArray(1, char(128));
        case TallyMode::off:
            break;
        }
        return QByteArray(1, char(0));
    }
    switch (mode) {
    case TallyMode::live:
        return QByteArray("\xff\x00\x00", 3);
    case TallyMode::preview:
        return QByteArray("\x00\xff\x00", 3);
    case TallyMode::off:
        break;
    }
    return QByteArray(3, char(0));
}

QByteArray DmxLayout::universe(const TallySnapshot& snapshot) const
{
    QByteArray levels(universeSize, char(0));
    const qsizetype lights = qMin<qsizetype>(snapshot.lights.size(), m_lightCount);
    for (qsizetype index = 0; index < lights; ++index) {
        const QByteArray light = levelsOf(snapshot.lights[index].mode);
        const qsizetype first = m_startChannel - 1 + index * channelsPerLight();
        levels.replace(first, light.size(), light);
    }
    return levels;
}
