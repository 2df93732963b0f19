#pragma once

#include <QByteArray>
#include <QString>

// One message for the broker. State is retained, so that a lamp that powers
// up or reconnects hears the last state at once instead of waiting for the
// next cut.
struct MqttMessage {
    QString topic;
    QByteArray payload;
    bool retain = true;

    friend bool operator==(const MqttMessage&, const MqttMessage&) = default;
};
