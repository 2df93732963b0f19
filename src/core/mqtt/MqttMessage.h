#pragma once

#include <QByteArray>
#include <QString>

#include <chrono>

// One message for the broker. State is retained, so that a lamp that powers
// up or reconnects hears the last state at once instead of waiting for the
// next cut.
struct MqttMessage {
    QString topic;
    QByteArray payload;
    bool retain = true;
    // How long the broker may keep it for a lamp that comes later; zero:
    // for good. A light's state holds only while the program says it, so it
    // expires unless said again: a program that is killed cannot leave a
    // lamp red for ever.
    std::chrono::seconds expiry { 0 };

    bool expires() const { return expiry.count() > 0; }

    friend bool operator==(const MqttMessage&, const MqttMessage&) = default;
};
