#pragma once

#include <QString>

#include <optional>

// Where vMix takes TCP API clients, as the user writes it: "vmix://HOST" or
// "vmix://HOST:PORT" (IPv6 hosts in brackets). The TCP API listens on port
// 8099; 8088 is vMix's web interface, which speaks HTTP and is not followed.
struct VmixAddress {
    static constexpr quint16 defaultPort = 8099;
    // The web interface's port, which users often give by mistake.
    static constexpr quint16 webPort = 8088;

    QString host;
    quint16 port = defaultPort;

    // Whether text names vMix at all (starts with "vmix://"), so that a
    // wrong address gets a message about addresses, not about unknown
    // sources.
    static bool looksLikeAddress(const QString& text);
    // The address, or nothing with the reason in problem.
    static std::optional<VmixAddress> parse(const QString& text, QString* problem);

    // "HOST:PORT", for messages.
    QString display() const;
    // "vmix://HOST:PORT", as the settings keep it.
    QString toString() const;
};
