#pragma once

#include <QString>

#include <optional>

// Where OBS Studio's websocket server listens, as the user writes it:
// "obs://HOST" or "obs://HOST:PORT" (IPv6 hosts in brackets). OBS listens on
// 4455 unless told otherwise.
struct ObsAddress {
    static constexpr quint16 defaultPort = 4455;

    QString host;
    quint16 port = defaultPort;

    // Whether text names OBS at all (starts with "obs://"), so that a wrong
    // address gets a message about addresses, not about unknown sources.
    static bool looksLikeAddress(const QString& text);
    // The address, or nothing with the reason in problem.
    static std::optional<ObsAddress> parse(const QString& text, QString* problem);

    // "HOST:PORT", for messages.
    QString display() const;
    // The websocket URL to open.
    QString webSocketUrl() const;
};
