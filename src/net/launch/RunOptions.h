#pragma once

#include "outputs/WebListenAddress.h"
#include "tally/LostSourcePolicy.h"

#include <QString>
#include <QStringList>

#include <optional>
#include <vector>

// The choices a launch of mixdesk-tally or tallyctl watch can make beyond the
// defaults: where the shots come from and where else the lights go. With none
// given, the shots come from Mixdesk's query and the lights go to the window
// and the tally box only.
struct RunOptions {
    // "mixdesk" (the default), or a switcher's address such as
    // "obs://HOST:PORT", "atem://HOST" or "vmix://HOST".
    QString source = QStringLiteral("mixdesk");
    // Whether the command line named the source (else a saved choice may).
    bool sourceGiven = false;
    // Every --source after the first, as written: switchers followed
    // together with source. Each may carry a label ("Studio B=atem://HOST")
    // that names its shots where two switchers share a name.
    QStringList additionalSources;
    // A TSL source takes messages only from these addresses or networks
    // (--tsl-allow, as written; empty: from every sender).
    QStringList tslAllowedSenders;
    // How many seconds a TSL sender may be silent before it counts as gone
    // (--tsl-silence); 0: no limit. Unset: none with --tsl-allow, 5 s
    // without, as strangers could then hold a light.
    std::optional<int> tslSilenceSeconds;
    // The ATEM mix effect (from 1) whose program and preview decide the
    // lights when the switcher sends no tally by source (--atem-me).
    int atemMixEffect = 1;
    // A file whose first line is the switcher's password.
    QString passwordFile;
    // The window's remembered source: its password is fetched from the
    // secret store after start and handed to the source then, unless a
    // password file or the environment variable gives one.
    bool passwordFromSecretStore = false;

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
    // DMX outputs (--dmx, repeatable), as written:
    // "artnet://HOST[:PORT][/UNIVERSE]" or "sacn://[HOST][:PORT][/UNIVERSE]";
    // light 1 from channel dmxStartChannel (--dmx-start), laid out as
    // dmxLayout (--dmx-layout: "rgb" or "single").
    QStringList dmxDestinations;
    int dmxStartChannel = 1;
    QString dmxLayout = QStringLiteral("rgb");
    // Whether the command line gave any DMX option: then it decides the DMX
    // outputs whole, and none saved in the window's settings are added.
    bool dmxGiven = false;
    // The web tally page: off unless --web [ADDRESS:]PORT is given.
    std::optional<WebListenAddress> web;
    // The vMix-compatible tally feed: off unless --vmix-feed [ADDRESS:]PORT
    // is given.
    std::optional<WebListenAddress> vmixFeed;
    // The feed answers only these addresses or networks
    // (--vmix-feed-allow, as written; empty: every client).
    QStringList vmixFeedAllowedClients;
    // What the lights do while the source is lost, and at quit; unset
    // choices leave the saved preference (or the default) in force.
    std::optional<LostSourcePolicy::Action> whenSourceLost;
    std::optional<int> blinkAfterSeconds;
    bool lightsOffAtQuit = false;

    // source, then the additional ones.
    QStringList sources() const { return QStringList { source } + additionalSources; }

    // base with the choices made on the command line put over it.
    LostSourcePolicy lostSourcePolicy(LostSourcePolicy base = {}) const;

    // Takes the options it knows out of arguments ("--source X" and
    // "--source=X" alike) and leaves the rest (files, a command's own
    // options) in place. A known option with a missing or bad value is a
    // usage problem: false, with the problem in words.
    static bool takeFrom(QStringList& arguments, RunOptions* options, QString* problem);

    // The longest --tsl-silence, a day: longer is as good as none.
    static constexpr int maxTslSilenceSeconds = 86400;

    // One line per option, for --help.
    static QStringList helpLines();
};
