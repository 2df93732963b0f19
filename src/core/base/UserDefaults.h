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
    // Stores any value at once. With private set, the settings file becomes
    // readable and writable by the user only: it then holds a secret.
    void setObject(const QString& key, const QVariant& value, bool isPrivate = false);

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
// (default, never registered so the absence of a choice stays visible) or
// "obs://HOST:PORT".
inline const QString shotSource = QStringLiteral("ShotSource");
// OBS Studio's websocket password, kept with the source.
inline const QString obsPassword = QStringLiteral("ObsPassword");
// The outputs besides the window and the tally box, chosen in Outputs >
// Network Outputs. None is ever registered: a key nobody set means the
// output is off, so that a first start serves and sends nothing.
// Where the web tally page listens, "[ADDRESS:]PORT"; empty: no page.
inline const QString webTally = QStringLiteral("WebTally");
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
// The main window's lamps in the large style: number and shots inside the
// lamp, text sized by the lamp, a frame that tells live from preview besides
// the colour. Never registered: unset reads false, the small LIVE/PREVIEW
// lamps.
inline const QString largeLampLabels = QStringLiteral("LargeLampLabels");

// The registered preferences (always on top, empty layers) with their
// defaults, in one dictionary.
QVariantMap registeredDefaults();

// Registers registeredDefaults(); done once when the application has started.
void registerDefaults(UserDefaults& defaults = UserDefaults::standardUserDefaults());

} // namespace Preferences
