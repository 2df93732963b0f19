#include "base/UserDefaults.h"

#include <QSettings>

namespace {

const QString organizationName = QStringLiteral("Mixdesk");
const QString applicationName = QStringLiteral("Mixdesk Tally");

} // namespace

UserDefaults& UserDefaults::standardUserDefaults()
{
    static UserDefaults shared;
    return shared;
}

UserDefaults::UserDefaults()
    : m_settings(std::make_unique<QSettings>(organizationName, applicationName))
{
}

UserDefaults::UserDefaults(const QString& settingsFilePath)
    : m_settings(std::make_unique<QSettings>(settingsFilePath, QSettings::IniFormat))
{
}

UserDefaults::~UserDefaults() = default;

void UserDefaults::useSettingsFile(const QString& settingsFilePath)
{
    m_settings = std::make_unique<QSettings>(settingsFilePath, QSettings::IniFormat);
}

void UserDefaults::registerDefaults(const QVariantMap& defaults)
{
    m_registeredDefaults.insert(defaults);
}

QVariant UserDefaults::objectForKey(const QString& key) const
{
    if (m_settings->contains(key)) {
        return m_settings->value(key);
    }
    return m_registeredDefaults.value(key);
}

bool UserDefaults::boolForKey(const QString& key) const
{
    // An INI file hands booleans back as the text "true" or "false", which
    // QVariant converts as wanted; numbers count as true when not zero.
    return objectForKey(key).toBool();
}

void UserDefaults::setObject(const QString& key, const QVariant& value)
{
    m_settings->setValue(key, value);
    // Written at once so that a crash or a second instance reading the same
    // file sees the user's choice.
    m_settings->sync();
}

void UserDefaults::removeObjectForKey(const QString& key)
{
    m_settings->remove(key);
    m_settings->sync();
}

void UserDefaults::setBool(const QString& key, bool value)
{
    setObject(key, value);
}

QString UserDefaults::settingsFilePath() const
{
    return m_settings->fileName();
}

namespace Preferences {

QVariantMap registeredDefaults()
{
    return {
        { alwaysOnTop, false },
        { showEmptyLayers, true },
        { askBeforeDiscardingChanges, false },
        { shotEditorCancel, false },
    };
}

void registerDefaults(UserDefaults& defaults)
{
    defaults.registerDefaults(registeredDefaults());
}

} // namespace Preferences
