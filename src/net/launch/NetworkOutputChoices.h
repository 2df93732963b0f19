#pragma once

#include <QString>
#include <QStringList>

#include <optional>

struct RunOptions;
class UserDefaults;

// The outputs besides the window and the tally box, as the operator writes
// them: where the web tally page listens, the TSL UMD destinations and the
// display index offset, the MQTT brokers and what goes with them, the DMX
// destinations, start channel and layout. Kept as text, so that the settings hold and the
// dialog shows again what was typed; checked only when used. Everything is
// off by default.
struct NetworkOutputChoices {
    // "[ADDRESS:]PORT"; nothing: no web tally page. An empty text is a page
    // wanted without a port yet, which problem() refuses.
    std::optional<QString> web;
    // "[ADDRESS:]PORT"; nothing: no vMix tally feed. An empty text is a feed
    // wanted without a port yet, which problem() refuses.
    std::optional<QString> vmixFeed;
    // Whom the feed answers: addresses and networks separated by commas or
    // spaces ("10.0.0.5, 10.0.0.0/24"); empty: every client.
    QString vmixFeedAllowedClients;
    // "udp://HOST:PORT", and also "tcp://HOST:PORT" for 5.0.
    QStringList tsl31Destinations;
    QStringList tsl50Destinations;
    // Light N is display index N + this.
    int tslIndexOffset = 0;
    // "mqtt://[USER@]HOST[:PORT][/PREFIX]" or "mqtts://...".
    QStringList mqttBrokers;
    bool mqttDiscovery = false;
    // The file whose first line is the brokers' password; empty: the
    // environment variable, or no password.
    QString mqttPasswordFile;
    // For mqtts: a CA certificate to trust besides the system's.
    QString mqttCaFile;
    // "artnet://HOST[:PORT][/UNIVERSE]" or "sacn://[HOST][:PORT][/UNIVERSE]".
    QStringList dmxDestinations;
    // Light 1's first channel, from 1.
    int dmxStartChannel = 1;
    // "rgb" or "single".
    QString dmxLayout = QStringLiteral("rgb");

    // The TSL part (both destination lists and the offset) taken from other:
    // the part goes together, since the offset numbers both lists' displays.
    void takeTslFrom(const NetworkOutputChoices& other);
    bool sendsTsl() const { return !tsl31Destinations.isEmpty() || !tsl50Destinations.isEmpty(); }
    // The MQTT part (the brokers and what goes with them) taken from other.
    void takeMqttFrom(const NetworkOutputChoices& other);
    // Whether both ask for the same MQTT publishers.
    bool sameMqttAs(const NetworkOutputChoices& other) const;

    // The DMX part (the destinations, the start channel and the layout)
    // taken from other: the part goes together, as the channels are the
    // same in every universe.
    void takeDmxFrom(const NetworkOutputChoices& other);
    bool sameDmxAs(const NetworkOutputChoices& other) const;

    // Whether these choices can be used; when not, why, in words for the
    // operator (no command-line option names).
    bool check(QString* problem) const;
    // Launch options asking for exactly these outputs. Only for choices
    // without a problem.
    RunOptions runOptions() const;
    // The outputs the launch options ask for.
    static NetworkOutputChoices of(const RunOptions& options);

    // As stored in the preferences; a key nobody set is an output off.
    static NetworkOutputChoices saved(const UserDefaults& defaults);
    void save(UserDefaults& defaults) const;

    friend bool operator==(const NetworkOutputChoices&, const NetworkOutputChoices&) = default;

private:
    bool checkDmx(QString* problem) const;
};
