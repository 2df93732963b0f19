#pragma once

#include <QString>
#include <QVariant>
#include <QVariantMap>

#include <memory>

class QSettings;

// The user's preferences, kept by QSettings under organisation "Mixdesk",
// application "Mixdesk Tally". Registered defaults live in memory only and
// answer for keys the user has never set: they are never written, so a later
// version can change a default without fighting values it wrote itself.
// Main thread only.
class UserDefaults {
public:
    // The process-wide preferences, opened on first use.
    static UserDefaults& standardUserDefaults();

    // Preferences in the user's usual settings location.
    UserDefaults();
    // Preferences kept in the given INI file instead, so that tests never
    // touch the user's own settings.
    explicit UserDefaults(const QString& settingsFilePath);
    ~UserDefaults();

    UserDefaults(const UserDefaults&) = delete;
    UserDefaults& operator=(const UserDefaults&) = delete;

    // Moves these preferences to another INI file, keeping the registered
    // defaults. Tests point the standard preferences at a private file.
    void useSettingsFile(const QString& settingsFilePath);

    // Adds to the registered defaults; a key registered again takes the new
    // default. Stored values are neither read nor changed.
    void registerDefaults(const QVariantMap& defaults);

    // The stored value, else the registered default, else an invalid value.
    QVariant objectForKey(const QString& key) const;
    // objectForKey as a boolean; false for a key nobody set or registered.
    bool boolForKey(const QString& key) const;

    // Stores a value at once, as a control bound to the key does when the
    // user switches it.
    void setBool(const QString& key, bool value);
    // Stores any value at once. Secrets never go here (see SecretStore):
    // the settings file is as readable as the user's other settings.
    void setObject(const QString& key, const QVariant& value);
    // Forgets the stored value at once; the registered default answers again.
    void removeObjectForKey(const QString& key);

    QString settingsFilePath() const;

private:
    std::unique_ptr<QSettings> m_settings;
    QVariantMap m_registeredDefaults;
};

// The preferences of the program.
namespace Preferences {

// Keeps the main window above other windows (default false).
inline const QString alwaysOnTop = QStringLiteral("AlwaysOnTop");
// Lists shots named "... Clear Layer" in the shot editor (default true).
inline const QString showEmptyLayers = QStringLiteral("ShowEmptyLayers");
// Where the shots come from when the command line does not say: "mixdesk"
// (default, never registered so the absence of a choice stays visible),
// "obs://HOST:PORT" or a TSL listener ("tsl5://PORT", "tsl+tcp://…").
inline const QString shotSource = QStringLiteral("ShotSource");
// Switchers followed besides that one, as the Source menu's Add Switcher
// added them ("atem://HOST:PORT", "LABEL=vmix://HOST:PORT"); none by
// default, so a settings file from before keeps following its one source.
inline const QString addedShotSources = QStringLiteral("AddedShotSources");
// OBS Studio's websocket password as earlier versions kept it, in plain
// text. Only read to move it into the secret store (ObsPasswordKeeper) and
// delete it; the password itself is kept there under the same name.
inline const QString obsPassword = QStringLiteral("ObsPassword");
// The addresses a TSL source takes messages from ("10.0.0.5",
// "10.0.1.0/24"), kept with the source; none: every sender.
inline const QString tslAllowedSenders = QStringLiteral("TslAllowedSenders");
// How many seconds a TSL sender may be silent before it counts as gone, kept
// with the source; 0: no limit; none: the default (no limit with allowed
// senders, 5 s without).
inline const QString tslSilenceSeconds = QStringLiteral("TslSilenceSeconds");
// The outputs besides the window and the tally box, chosen in Outputs >
// Network Outputs. None is ever registered: a key nobody set means the
// output is off, so that a first start serves and sends nothing.
// Where the web tally page listens, "[ADDRESS:]PORT"; empty: no page.
inline const QString webTally = QStringLiteral("WebTally");
// The vMix-compatible tally feed: "[ADDRESS:]PORT"; empty or unset: none.
inline const QString vmixFeed = QStringLiteral("VmixFeed");
// Whom the feed answers: "10.0.0.5, 10.0.0.0/24"; empty or unset: everyone.
inline const QString vmixFeedAllowedClients = QStringLiteral("VmixFeedAllow");
// TSL UMD destinations, "udp://HOST:PORT" (and "tcp://HOST:PORT" for 5.0).
inline const QString tsl31Destinations = QStringLiteral("Tsl31Destinations");
inline const QString tsl50Destinations = QStringLiteral("Tsl50Destinations");
// Light N is TSL display index N + this (default 0).
inline const QString tslIndexOffset = QStringLiteral("TslIndexOffset");
// MQTT brokers, "mqtt://[USER@]HOST[:PORT][/PREFIX]" or "mqtts://...", and
// what goes with them: Home Assistant discovery (default off), the file
// holding the brokers' password and a CA file to trust for TLS (both
// optional). The password itself is never stored here.
inline const QString mqttBrokers = QStringLiteral("MqttBrokers");
inline const QString mqttDiscovery = QStringLiteral("MqttDiscovery");
inline const QString mqttPasswordFile = QStringLiteral("MqttPasswordFile");
inline const QString mqttCaFile = QStringLiteral("MqttCaFile");
// DMX outputs: "artnet://HOST[:PORT][/UNIVERSE]" or
// "sacn://[HOST][:PORT][/UNIVERSE]", the first channel (default 1) and the
// layout, "rgb" (default) or "single".
inline const QString dmxDestinations = QStringLiteral("DmxDestinations");
inline const QString dmxStartChannel = QStringLiteral("DmxStartChannel");
inline const QString dmxLayout = QStringLiteral("DmxLayout");
// The CID the program sends sACN under, made on first use and kept, so that
// receivers see one source across restarts.
inline const QString sacnSourceId = QStringLiteral("SacnSourceId");
// The main window's lamps in the large style: number and shots inside the
// lamp, text sized by the lamp, a frame that tells live from preview besides
// the colour. Never registered: unset reads false, the small LIVE/PREVIEW
// lamps.
inline const QString largeLampLabels = QStringLiteral("LargeLampLabels");
// Outputs > No Tally Box: the studio lights only phones, TSL or MQTT, so an
// absent box is no problem and the status line says the lights go only
// there. A box plugged in all the same is still driven: the choice silences
// the warning, it never holds bytes back. Never registered: unset reads
// false, and a missing box is warned of.
inline const QString noTallyBox = QStringLiteral("NoTallyBox");
// View > Mark Lamps While Source Is Lost: the main window's lamps are hatched
// and marked LOST (with the time since) while the source is lost. Never
// registered: unset reads false, and the warning under the lamps says it.
inline const QString markLampsWhileSourceIsLost = QStringLiteral("MarkLampsWhileSourceIsLost");
// Edit > Ask Before Discarding Changes: an edit marks the map as changed
// (a "*" after the window's title) and Open and Quit ask whether to save it
// first. Off by default: an edit is not a change waiting to be saved, and
// nothing ever stands between the operator and the command.
inline const QString askBeforeDiscardingChanges = QStringLiteral("AskBeforeDiscardingChanges");
// Edit > Cancel in Shot Editor: the shot editor gets a Cancel button, and
// Escape, that hand the light's list back as it came. Off by default:
// however the editor is closed, Escape included, the light keeps its ticks.
inline const QString shotEditorCancel = QStringLiteral("ShotEditorCancel");

// The registered preferences (always on top, empty layers, asking before
// discarding changes, the shot editor's Cancel) with their defaults, in one
// dictionary.
QVariantMap registeredDefaults();

// Registers registeredDefaults(); done once when the application has started.
void registerDefaults(UserDefaults& defaults = UserDefaults::standardUserDefaults());

} // namespace Preferences
