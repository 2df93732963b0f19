#pragma once

#include <QString>

#include <optional>

// Where the lights go as DMX channels, as the operator writes it:
//   artnet://HOST[:PORT][/UNIVERSE]   Art-Net, UDP 6454, universe 0 by
//                                     default; HOST may be a node or a
//                                     broadcast address (2.255.255.255).
//   sacn://[HOST][:PORT][/UNIVERSE]   sACN (E1.31), UDP 5568, universe 1 by
//                                     default; without HOST the universe's
//                                     multicast group 239.255.HI.LO, which is
//                                     what sACN receivers listen to.
// IPv6 hosts go in brackets. An Art-Net universe is the 15-bit port-address
// (0 to 32767); an sACN universe runs from 1 to 63999.
struct DmxAddress {
    enum class Protocol { artNet, sacn };

    static constexpr quint16 artNetPort = 6454;
    static constexpr quint16 sacnPort = 5568;
    static constexpr int maxArtNetUniverse = 32767;
    static constexpr int minSacnUniverse = 1;
    static constexpr int maxSacnUniverse = 63999;

    Protocol protocol = Protocol::artNet;
    // Empty for an sACN universe sent to its multicast group.
    QString host;
    quint16 port = artNetPort;
    int universe = 0;

    // Whether text is meant as a DMX address at all (its scheme), so that a
    // wrong one gets a message about DMX addresses.
    static bool looksLikeAddress(const QString& text);
    // The address, or nothing with the reason in problem.
    static std::optional<DmxAddress> parse(const QString& text, QString* problem);

    // Where the datagrams go: the host, or the sACN multicast group of the
    // universe.
    QString destinationHost() const;
    bool isMulticast() const { return protocol == Protocol::sacn && host.isEmpty(); }
    // "artnet://HOST:PORT/UNIVERSE" or "sacn://[HOST]:PORT/UNIVERSE" with
    // every part filled in, for messages.
    QString toString() const;

    friend bool operator==(const DmxAddress&, const DmxAddress&) = default;
};
