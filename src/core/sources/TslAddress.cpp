#include "sources/TslAddress.h"

#include "base/Problem.h"

namespace {

struct Scheme {
    const char* prefix;
    TslTallyEncoding::Version version;
    TslAddress::Transport transport;
};

const Scheme schemes[] = {
    { "tsl://", TslTallyEncoding::Version::v31, TslAddress::Transport::udp },
    { "tsl+udp://", TslTallyEncoding::Version::v31, TslAddress::Transport::udp },
    { "tsl+tcp://", TslTallyEncoding::Version::v31, TslAddress::Transport::tcp },
    { "tsl5://", TslTallyEncoding::Version::v50, TslAddress::Transport::udp },
    { "tsl5+udp://", TslTallyEncoding::Version::v50, TslAddress::Transport::udp },
    { "tsl5+tcp://", TslTallyEncoding::Version::v50, TslAddress::Transport::tcp },
};

const Scheme* schemeOf(const QString& text)
{
    for (const Scheme& scheme : schemes) {
        if (text.startsWith(QLatin1String(scheme.prefix))) {
            return &scheme;
        }
    }
    return nullptr;
}

QString problemWith(const QString& text, const QString& why)
{
    return QStringLiteral("bad TSL source '%1': %2").arg(text, why);
}

} // namespace

bool TslAddress::looksLikeAddress(const QString& text)
{
    return schemeOf(text) != nullptr;
}

std::optional<TslAddress> TslAddress::parse(const QString& text, QString* problem)
{
    const auto fail = [&](const QString& why) -> std::optional<TslAddress> {
        reportProblem(problem, problemWith(text, why));
        return std::nullopt;
    };
    const Scheme* scheme = schemeOf(text);
    if (!scheme) {
        return fail(QStringLiteral("expected tsl://, tsl+tcp://, tsl5:// or tsl5+tcp:// and [ADDRESS:]PORT"));
    }
    TslAddress address;
    address.version = scheme->version;
    address.transport = scheme->transport;
    const QString rest = text.mid(qsizetype(qstrlen(scheme->prefix)));
    const qsizetype colon = rest.lastIndexOf(QLatin1Char(':'));
    const QString portText = colon < 0 ? rest : rest.mid(colon + 1);
    if (colon >= 0) {
        QString host = rest.left(colon);
        if (host.startsWith(QLatin1Char('[')) && host.endsWith(QLatin1Char(']'))) {
            host = host.mid(1, host.size() - 2);
        }
        address.host = host;
    }
    bool isNumber = false;
    const uint port = portText.toUInt(&isNumber);
    if (!isNumber || port < 1 || port > 65535) {
        return fail(QStringLiteral("the port must be a number from 1 to 65535"));
    }
    address.port = static_cast<quint16>(port);
    return address;
}

QString TslAddress::badHostProblem(const QString& text, const QString& host)
{
    return problemWith(text, QStringLiteral("'%1' is not an address of this computer's").arg(host));
}
