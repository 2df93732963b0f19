#pragma once

#include <QString>

#include <optional>

// A broker to publish the lights to, as the operator writes it:
// mqtt://[USER@]HOST[:PORT][/PREFIX], or mqtts:// for TLS. The password is
// never part of it: a command line and a settings file are read by others,
// so the password comes from a file or the environment instead.
struct MqttBrokerAddress {
    static constexpr quint16 plainPort = 1883;
    static constexpr quint16 tlsPort = 8883;

    bool tls = false;
    // Empty: no login.
    QString user;
    QString host;
    quint16 port = plainPort;
    // The topic prefix without slashes at either end; empty: the default,
    // mixdesk-tally/<instance>.
    QString prefix;

    // Nothing, with the reason in words, when the text is not such an address.
    static std::optional<MqttBrokerAddress> parse(const QString& text, QString* problem);
    // Whether text is meant as a broker address at all (its scheme).
    static bool looksLikeAddress(const QString& text);

    // The prefix the topics go under, for the instance when none was given.
    QString topicPrefix(const QString& instance) const;
    // As written, without a password: for messages and the settings.
    QString toString() const;

    friend bool operator==(const MqttBrokerAddress&, const MqttBrokerAddress&) = default;
};

// This machine's name as one topic level: what a prefix names when the
// operator gave none. Characters MQTT gives a meaning in topics become '-'.
QString mqttInstanceName(const QString& hostName);
