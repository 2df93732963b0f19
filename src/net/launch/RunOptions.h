#pragma once

#include "outputs/WebListenAddress.h"
#include "sources/ShotSource.h"
#include "tally/LostSourcePolicy.h"

#include <QString>
#include <QStringList>

#include <memory>
#include <optional>
#include <vector>

// The choices a launch of mixdesk-tally or tallyctl watch can make beyond the
// defaults: where the shots come from and where else the lights go. With none
// given, the shots come from Mixdesk's query and the lights go to the window
// and the tally box only.
struct RunOptions {
    // "mixdesk" (the default), or a switcher's address such as
    // "obs://HOST:PORT".
    QString source = QStringLiteral("mixdesk");
    // Whether the command line named the source (else a saved choice may).
    bool sourceGiven = false;
    // A file whose first line is the switcher's password.
    QString passwordFile;
    // A password known otherwise (the window's saved choice); a password
    // file or the environment variable still comes first.
    QString savedPassword;

    // TSL UMD outputs (--tsl, --tsl5, --tsl-offset): every destination
    // given, as written ("udp://HOST:PORT", "tcp://HOST:PORT"), 3.1 and 5.0
    // apart; light N is display index N + tslIndexOffset.
    QStringList tsl31Destinations;
    QStringList tsl50Destinations;
    int tslIndexOffset = 0;
    // Whether the command line gave any TSL option: then it decides the TSL
    // outputs whole, and none saved in the window's settings are added.
    bool tslGiven = false;
    // MQTT brokers (--mqtt, repeatable), as written:
    // "mqtt://[USER@]HOST[:PORT][/PREFIX]" or "mqtts://...".
    QStringList mqttBrokers;
    // A file whose first line is the brokers' password (else the
    // environment variable below).
    QString mqttPasswordFile;
    // For mqtts: a CA certificate to trust besides the system's.
    QString mqttCaFile;
    // Home Assistant discovery documents besides the state.
    bool mqttDiscovery = false;
    // Whether the command line gave any MQTT option: then it decides the
    // MQTT outputs whole, and none saved in the window's settings are added.
    bool mqttGiven = false;
    // The web tally page: off unless --web [ADDRESS:]PORT is given.
    std::optional<WebListenAddress> web;
    // What the lights do while the source is lost, and at quit; unset
    // choices leave the saved preference (or the default) in force.
    std::optional<LostSourcePolicy::Action> whenSourceLost;
    std::optional<int> blinkAfterSeconds;
    bool lightsOffAtQuit = false;

    // base with the choices made on the command line put over it.
    LostSourcePolicy lostSourcePolicy(LostSourcePolicy base = {}) const;

    // Takes the options it knows out of arguments ("--source X" and
    // "--source=X" alike) and leaves the rest (files, a command's own
    // options) in place. A known option with a missing or bad value is a
    // usage problem, returned in words.
    static std::optional<QString> takeFrom(QStringList& arguments, RunOptions* options);

    // One line per option, for --help.
    static QStringList helpLines();
};

// Where the switcher's password comes from when no --password-file is given:
// an environment variable keeps it off the command line, which every user of
// the computer can see.
inline const QString obsPasswordVariable = QStringLiteral("MIXDESK_TALLY_OBS_PASSWORD");

// Where the MQTT brokers' password comes from when no --mqtt-password-file
// is given.
inline const QString mqttPasswordVariable = QStringLiteral("MIXDESK_TALLY_MQTT_PASSWORD");

// The switcher's password: the first line of --password-file, else the
// environment variable, else empty. Nothing, with the reason in problem,
// when the file cannot be read.
std::optional<QString> readSwitcherPassword(const RunOptions& options, QString* problem);

// The shot source the options choose, or nothing with the reason in problem.
std::unique_ptr<ShotSource> makeShotSource(const RunOptions& options, QString* problem);

class TslSender;

// The TSL UMD sender the options ask for: nothing and no problem when they
// name no destination, nothing and the reason in problem when a destination
// or the offset is bad.
std::unique_ptr<TslSender> makeTslSender(const RunOptions& options, QString* problem);
class MqttPublisher;

// One MQTT publisher per broker the options name, connecting in the
// background. Empty and no problem when they name none; empty with the
// reason in problem when an address is bad or the password or CA file
// cannot be read.
std::vector<std::unique_ptr<MqttPublisher>> makeMqttPublishers(const RunOptions& options, QString* problem);

class WebTallyServer;

// The web tally page, listening where the options say. Nothing, and no
// problem, when the options ask for none; nothing with the reason in problem
// when it cannot listen there.
std::unique_ptr<WebTallyServer> startWebTally(const RunOptions& options, QString* problem);

class TallyCycle;

// Every output besides the window and the tally box that the options ask
// for, started, for the window and tallyctl watch alike. They must outlive
// the cycle they are added to, or be removed from it first.
struct StartedOutputs {
    std::unique_ptr<TslSender> tsl;
    std::unique_ptr<WebTallyServer> web;
    std::vector<std::unique_ptr<MqttPublisher>> mqtt;

    StartedOutputs();
    StartedOutputs(StartedOutputs&&) noexcept;
    StartedOutputs& operator=(StartedOutputs&&) noexcept;
    ~StartedOutputs();

    void addTo(TallyCycle& cycle) const;
    void removeFrom(TallyCycle& cycle) const;
};

// Why the outputs could not start: a usage mistake (a bad destination), or
// the system refusing (a port in use).
struct OutputsProblem {
    QString text;
    bool isUsage = false;
};

std::optional<StartedOutputs> startOutputs(const RunOptions& options, OutputsProblem* problem);
