#include "keychain/KeychainSecretStore.h"

#include <qt6keychain/keychain.h>

namespace {

SecretStore::Outcome outcomeOf(QKeychain::Error error)
{
    switch (error) {
    case QKeychain::NoError:
        return SecretStore::Outcome::done;
    case QKeychain::EntryNotFound:
        return SecretStore::Outcome::notFound;
    case QKeychain::NoBackendAvailable:
    case QKeychain::NotImplemented:
        return SecretStore::Outcome::unavailable;
    case QKeychain::OtherError:
        // Also what comes back when no session bus or no Secret Service
        // runs: D-Bus said nobody is there.
        return SecretStore::Outcome::unavailable;
    case QKeychain::CouldNotDeleteEntry:
    case QKeychain::AccessDeniedByUser:
    case QKeychain::AccessDenied:
        break;
    }
    return SecretStore::Outcome::failed;
}

} // namespace

KeychainSecretStore::KeychainSecretStore(QString service, QObject* parent)
    : QObject(parent)
    , m_service(std::move(service))
{
}

QString KeychainSecretStore::description() const
{
    return QStringLiteral("the desktop's secret store");
}

void KeychainSecretStore::read(const QString& key, Done done)
{
    run(new QKeychain::ReadPasswordJob(m_service), key, std::move(done));
}

void KeychainSecretStore::write(const QString& key, const QString& secret, Done done)
{
    auto* job = new QKeychain::WritePasswordJob(m_service);
    job->setTextData(secret);
    run(job, key, std::move(done));
}

void KeychainSecretStore::remove(const QString& key, Done done)
{
    run(new QKeychain::DeletePasswordJob(m_service), key, std::move(done));
}

void KeychainSecretStore::run(QKeychain::Job* job, const QString& key, Done done)
{
    // Never QtKeychain's own plain-text fall-back: the file that stands in
    // for a missing store is SecretFile's, created private.
    job->setInsecureFallback(false);
    job->setAutoDelete(true);
    job->setKey(key);
    // This object as the context: once it is gone the answer goes nowhere.
    connect(job, &QKeychain::Job::finished, this, [done = std::move(done)](QKeychain::Job* finished) {
        SecretStore::Answer answer;
        answer.outcome = outcomeOf(finished->error());
        if (answer.outcome == SecretStore::Outcome::done) {
            if (auto* reading = qobject_cast<QKeychain::ReadPasswordJob*>(finished)) {
                answer.secret = reading->textData();
            }
        } else {
            answer.error = finished->errorString();
        }
        done(answer);
    });
    job->start();
}
