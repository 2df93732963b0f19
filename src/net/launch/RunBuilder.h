#pragma once

// What a launch builds from its RunOptions: the shot source and the outputs
// besides the window and the tally box, for mixdesk-tally and tallyctl watch
// alike. Parsing the options stays in RunOptions, so that a usage mistake is
// found before anything listens or connects.

#include "launch/RunOptions.h"
#include "sources/ShotSource.h"
#include "switchers/SenderAllowList.h"

#include <chrono>
#include <memory>
#include <optional>
#include <vector>

// Where the switcher's password comes from when no --password-file is given:
// an environment variable keeps it off the command line, which every user of
// the computer can see.
inline const QString obsPasswordVariable = QStringLiteral("MIXDESK_TALLY_OBS_PASSWORD");

// Where the MQTT brokers' password comes from when no --mqtt-password-file
// is given.
inline const QString mqttPasswordVariable = QStringLiteral("MIXDESK_TALLY_MQTT_PASSWORD");

// For tests: how many seconds the lights' state lasts at an MQTT broker
// unless said again, instead of fifteen, so that a test sees a killed
// program's state expire without waiting that long.
inline const QString mqttStateExpiryVariable = QStringLiteral("MIXDESK_TALLY_MQTT_STATE_EXPIRY");

// The switcher's password: the first line of --password-file, else the
// environment variable, else empty. Nothing, with the reason in problem,
// when the file cannot be read.
std::optional<QString> readSwitcherPassword(const RunOptions& options, QString* problem);

// The kind of source an address names by its scheme ("mixdesk",
// "obs://…", "tsl://…" and the other TSL forms, "atem://…", "vmix://…"); nothing for any
// other text.
std::optional<ShotSource::Kind> shotSourceKindOf(const QString& source);

// Whether makeShotSource can build the options' source as far as its address
// and the senders it allows go, without connecting or listening: false, with
// the reason, when it cannot. A port in use is found only by starting.
bool checkShotSource(const RunOptions& options, QString* problem);

// A TSL source's silence limit from whole seconds as the command line and
// the settings give it: 0 for none.
std::optional<std::chrono::milliseconds> tslSilenceLimit(int seconds);

// The shot source the options choose, or nothing with the reason in problem.
std::unique_ptr<ShotSource> makeShotSource(const RunOptions& options, QString* problem);

// Whether running already follows the one switcher the options name (their
// source an address alone), the way makeShotSource would follow it: the same
// kind at the same address, an ATEM on the same mix effect. Such a switcher
// can go on running when the switchers followed change, instead of being
// made again: a listener would find its own port taken.
bool followsSameSwitcher(ShotSource& running, const RunOptions& options);

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

class DmxSender;

// The DMX sender the options ask for: nothing and no problem when they name
// no destination, nothing and the reason in problem when a destination, the
// layout or the start channel is bad. An sACN destination takes this
// installation's CID from the settings (made there on first use).
std::unique_ptr<DmxSender> makeDmxSender(const RunOptions& options, QString* problem);

class WebTallyServer;

// The web tally page, listening where the options say. Nothing, and no
// problem, when the options ask for none; nothing with the reason in problem
// when it cannot listen there.
std::unique_ptr<WebTallyServer> startWebTally(const RunOptions& options, QString* problem);

class VmixFeedServer;

// The vMix-compatible tally feed, listening where the options say. Nothing,
// and no problem, when the options ask for none; nothing with the reason in
// problem when it cannot listen there. It answers only the clients the
// options allow.
std::unique_ptr<VmixFeedServer> startVmixFeed(const RunOptions& options, QString* problem);

// The clients the feed answers (--vmix-feed-allow; empty: everyone), or
// nothing with the first bad entry named.
std::optional<SenderAllowList> vmixFeedAllowList(const RunOptions& options, QString* problem);

class TallyCycle;

// Every output besides the window and the tally box that the options ask
// for, started, for the window and tallyctl watch alike. They must outlive
// the cycle they are added to, or be removed from it first.
struct StartedOutputs {
    std::unique_ptr<TslSender> tsl;
    std::unique_ptr<WebTallyServer> web;
    std::vector<std::unique_ptr<MqttPublisher>> mqtt;
    std::unique_ptr<DmxSender> dmx;
    std::unique_ptr<VmixFeedServer> vmixFeed;

    StartedOutputs();
    StartedOutputs(StartedOutputs&&) noexcept;
    StartedOutputs& operator=(StartedOutputs&&) noexcept;
    ~StartedOutputs();

    void addTo(TallyCycle& cycle) const;
    void removeFrom(TallyCycle& cycle) const;
};

// Whether the outputs the options ask for could start as far as the options
// go: every TSL destination and the offset, every MQTT broker, the MQTT
// password and CA files, every DMX destination and the DMX layout. False, with the problem, on a usage mistake; a
// port in use is found only by starting.
bool checkOutputs(const RunOptions& options, QString* problem);

// Every output the options ask for, started; nothing, with the problem, when
// a check fails or the web page or the vMix feed cannot listen.
std::optional<StartedOutputs> startOutputs(const RunOptions& options, QString* problem);
