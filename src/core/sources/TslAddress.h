#pragma once

#include "tsl/TslTallyEncoding.h"

#include <QString>

#include <optional>

// Where a switcher that drives TSL UMD displays sends, as the user writes the
// source:
//   tsl://[ADDRESS:]PORT, tsl+udp://… or tsl+tcp://…    TSL UMD 3.1
//   tsl5://[ADDRESS:]PORT, tsl5+udp://… or tsl5+tcp://… TSL UMD 5.0
// (an IPv6 ADDRESS in brackets). Without an address, every interface. The
// program listens there, so ADDRESS is one of this computer's; whether it is
// a numeric address is for the listener to tell, as only the network layer
// can read one.
struct TslAddress {
    enum class Transport {
        udp,
        tcp,
    };

    TslTallyEncoding::Version version = TslTallyEncoding::Version::v50;
    Transport transport = Transport::udp;
    // As written, without brackets; nothing for every interface.
    std::optional<QString> host;
    quint16 port = 0;

    // Whether text starts with one of the TSL schemes.
    static bool looksLikeAddress(const QString& text);
    // The address, or nothing with the reason in problem ("bad TSL source
    // '…': …").
    static std::optional<TslAddress> parse(const QString& text, QString* problem);
    // The message for a source whose host is not an address of this
    // computer's, worded as parse words its own.
    static QString badHostProblem(const QString& text, const QString& host);
};
