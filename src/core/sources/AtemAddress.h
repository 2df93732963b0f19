#pragma once

#include <QString>

#include <optional>

// Where an ATEM switcher listens, as the user writes it: "atem://HOST" or
// "atem://HOST:PORT" (IPv6 hosts in brackets). Switchers take their control
// clients on UDP port 9910.
struct AtemAddress {
    static constexpr quint16 defaultPort = 9910;

    QString host;
    quint16 port = defaultPort;

    // Whether text names an ATEM at all (starts with "atem://"), so that a
    // wrong address gets a message about addresses, not about unknown
    // sources.
    static bool looksLikeAddress(const QString& text);
    // The address, or nothing with the reason in problem.
    static std::optional<AtemAddress> parse(const QString& text, QString* problem);

    // "HOST:PORT", for messages.
    QString display() const;
    // "atem://HOST:PORT", as the settings keep it.
    QString toString() const;
};
