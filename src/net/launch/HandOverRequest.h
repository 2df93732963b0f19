#pragma once

#include "launch/NetworkOutputChoices.h"
#include "tally/LostSourcePolicy.h"

#include <QByteArray>
#include <QByteArrayView>
#include <QString>
#include <QStringList>

#include <optional>

struct RunOptions;

// What a later launch of mixdesk-tally asks of the window already running:
// a map to open, and the choices the window's own menus could make (the
// source, the network outputs, what the lights do while the switcher is
// lost). The window takes them as if the operator had chosen them there, so
// they are remembered for the next start like a menu choice.
//
// On the local socket it is one line of JSON, versioned. Everything in it is
// checked as it is read: the socket is the user's only, but any program of
// the user can write to it, and nothing it writes may upset the window.
struct HandOverRequest {
    // The source to follow, as its address is written ("mixdesk",
    // "obs://HOST:PORT", "tsl://PORT", "atem://HOST"), and the switchers
    // followed beside it. The password and the senders hold for every OBS
    // Studio and every TSL listener among them, as on the command line.
    struct Source {
        QString address;
        // OBS Studio's password, read by the launch from its password file
        // or environment (the window's environment is not the launch's).
        QString password;
        // The senders a TSL source hears; empty: every sender.
        QStringList allowedSenders;
        // The switchers to follow beside it, each as --source gives it
        // ("LABEL=ADDRESS" or an address alone), in order: the window
        // follows the same set as the launch would have. A launch always
        // sets it (empty for one switcher); nothing, from a launch of a
        // version that handed one source only, leaves the switchers added
        // in the window as they are.
        std::optional<QStringList> added;

        friend bool operator==(const Source&, const Source&) = default;
    };

    // Maps to open, with absolute paths: the window's folder is not the
    // launch's.
    QStringList files;
    std::optional<Source> source;
    // The network output choices; only the parts marked given replace the
    // window's, each part whole as at start-up.
    NetworkOutputChoices outputs;
    bool webGiven = false;
    bool vmixFeedGiven = false;
    bool tslGiven = false;
    bool mqttGiven = false;
    bool dmxGiven = false;
    std::optional<LostSourcePolicy::Action> whenSourceLost;
    std::optional<int> blinkAfterSeconds;
    bool lightsOffAtQuit = false;

    // The one version of the message this program writes and reads.
    static constexpr int version = 1;
    // The longest message either side writes or reads, its line end
    // included.
    static constexpr qsizetype maximumBytes = 64 * 1024;

    // What the launch's options and files ask of the running window, with
    // relative paths taken from folder (the launch's working folder).
    // Nothing, with the reason for the launch to print, when an option is
    // bad or is one the running window cannot take: then nothing is handed
    // over and the window is left as it is.
    static std::optional<HandOverRequest> fromLaunch(
        const RunOptions& options, const QStringList& files, const QString& folder, QString* problem);

    bool changesOutputs() const { return webGiven || vmixFeedGiven || tslGiven || mqttGiven || dmxGiven; }
    // current with the given parts put over it.
    NetworkOutputChoices outputsOver(const NetworkOutputChoices& current) const;
    bool changesLostSourcePolicy() const { return whenSourceLost || blinkAfterSeconds || lightsOffAtQuit; }
    // base with the given lost-switcher choices put over it.
    LostSourcePolicy lostSourcePolicyOver(LostSourcePolicy base) const;

    // What was handed over, in a few words each ("source obs://studio:4455",
    // "web tally page on *:8090", "map /home/op/studio.tlx"); empty when the
    // launch only brought the window to the front.
    QStringList summary() const;

    // The message line, ending in a line feed.
    QByteArray encode() const;
    // The request a message line (with or without its line end) holds;
    // nothing, with the reason, when it is not one this program writes: not
    // JSON, another version, a field of the wrong type, a relative path.
    // Fields it does not know are ignored.
    static std::optional<HandOverRequest> decode(QByteArrayView line, QString* problem);

    friend bool operator==(const HandOverRequest&, const HandOverRequest&) = default;
};

// The running window's answer to a hand-over: taken, or refused with the
// reason. One line of JSON as well.
struct HandOverAnswer {
    bool taken = false;
    QString problem;

    QByteArray encode() const;
    // Nothing when the line is not an answer of this version (a window of
    // an earlier release answers otherwise).
    static std::optional<HandOverAnswer> decode(QByteArrayView line);
};
