#pragma once

#include "tsl/TslTallyEncoding.h"

#include <QString>

#include <optional>

// Where a TSL UMD sender sends: "udp://HOST:PORT" or "tcp://HOST:PORT"
// (an IPv6 address in brackets), with the protocol version the option chose.
struct TslDestination {
    enum class Transport {
        udp,
        tcp,
    };

    TslTallyEncoding::Version version = TslTallyEncoding::Version::v50;
    Transport transport = Transport::udp;
    QString host;
    quint16 port = 0;

    // As the user wrote it, for messages.
    QString toString() const;

    // The destination text names, or nothing with the reason in problem.
    static std::optional<TslDestination> parse(
        TslTallyEncoding::Version version, const QString& text, QString* problem);
};
