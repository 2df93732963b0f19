#include "sources/ObsPasswordKeeper.h"

#include "base/SystemLog.h"
#include "base/UserDefaults.h"
#include "secrets/SecretFile.h"

const QString ObsPasswordKeeper::secretKey = QStringLiteral("ObsPassword");

namespace {

std::unique_ptr<SecretStore> orPrivateFile(std::unique_ptr<SecretStore> store, const UserDefaults& defaults)
{
    if (store) {
        return store;
    }
    return std::make_unique<SecretFile>(SecretFile::besideSettings(defaults.settingsFilePath()));
}

void logTrouble(const QString& what, const SecretStore::Answer& answer)
{
    systemLog(QStringLiteral("OBS Studio password: %1 (%2)").arg(what, answer.error));
}

} // namespace

ObsPasswordKeeper::ObsPasswordKeeper(UserDefaults& defaults, std::unique_ptr<SecretStore> store)
    : m_defaults(defaults)
    , m_store(orPrivateFile(std::move(store), defaults))
{
}

void ObsPasswordKeeper::moveOutOfSettings()
{
    const QVariant inSettings = m_defaults.objectForKey(Preferences::obsPassword);
    if (!inSettings.isValid()) {
        return;
    }
    const QString password = inSettings.toString();
    m_known = password;
    if (password.isEmpty()) {
        m_defaults.removeObjectForKey(Preferences::obsPassword);
        return;
    }
    m_store->write(secretKey, password, [this](const SecretStore::Answer& answer) {
        if (answer.outcome != SecretStore::Outcome::done) {
            // Left where it was rather than lost; the next start tries again.
            logTrouble(QStringLiteral("stays in the settings file, %1 refused it").arg(m_store->description()), answer);
            return;
        }
        m_defaults.removeObjectForKey(Preferences::obsPassword);
    });
}

void ObsPasswordKeeper::fetch(Give give)
{
    if (m_known) {
        give(*m_known);
        return;
    }
    m_store->read(secretKey, [this, give = std::move(give)](const SecretStore::Answer& answer) {
        if (answer.outcome == SecretStore::Outcome::failed || answer.outcome == SecretStore::Outcome::unavailable) {
            logTrouble(QStringLiteral("cannot be read from %1").arg(m_store->description()), answer);
        }
        const QString password = answer.outcome == SecretStore::Outcome::done ? answer.secret : QString();
        // A password kept meanwhile is newer than what the store held.
        if (!m_known) {
            m_known = password;
        }
        give(*m_known);
    });
}

void ObsPasswordKeeper::keep(const QString& password)
{
    if (password.isEmpty()) {
        forget();
        return;
    }
    m_known = password;
    m_defaults.removeObjectForKey(Preferences::obsPassword);
    m_store->write(secretKey, password, [this](const SecretStore::Answer& answer) {
        if (answer.outcome != SecretStore::Outcome::done) {
            logTrouble(
                QStringLiteral("cannot be kept in %1; it holds for this run only").arg(m_store->description()), answer);
        }
    });
}

void ObsPasswordKeeper::forget()
{
    m_known = QString();
    m_defaults.removeObjectForKey(Preferences::obsPassword);
    m_store->remove(secretKey, [this](const SecretStore::Answer& answer) {
        if (answer.outcome == SecretStore::Outcome::failed) {
            logTrouble(QStringLiteral("cannot be removed from %1").arg(m_store->description()), answer);
        }
    });
}
