#include "secrets/FallbackSecretStore.h"

FallbackSecretStore::FallbackSecretStore(std::unique_ptr<SecretStore> preferred, std::unique_ptr<SecretStore> fallback)
    : m_preferred(std::move(preferred))
    , m_fallback(std::move(fallback))
{
}

QString FallbackSecretStore::description() const
{
    return QStringLiteral("%1, else %2").arg(m_preferred->description(), m_fallback->description());
}

void FallbackSecretStore::read(const QString& key, Done done)
{
    m_preferred->read(key, [this, key, done = std::move(done)](const Answer& answer) {
        if (answer.outcome == Outcome::done || answer.outcome == Outcome::failed) {
            // A store that answered and refused (locked, denied) is not
            // gone: the file is not a way around the user's no.
            done(answer);
            return;
        }
        m_fallback->read(key, done);
    });
}

void FallbackSecretStore::write(const QString& key, const QString& secret, Done done)
{
    m_preferred->write(key, secret, [this, key, secret, done = std::move(done)](const Answer& answer) {
        if (answer.outcome == Outcome::unavailable) {
            m_fallback->write(key, secret, done);
            return;
        }
        if (answer.outcome == Outcome::done) {
            // The store has it: a copy in the file has no reason to stay.
            m_fallback->remove(key, [answer, done](const Answer&) { done(answer); });
            return;
        }
        done(answer);
    });
}

void FallbackSecretStore::remove(const QString& key, Done done)
{
    m_preferred->remove(key, [this, key, done = std::move(done)](const Answer& preferred) {
        m_fallback->remove(key, [preferred, done](const Answer& fallback) {
            // Done when either held it; a failure of either is reported.
            if (preferred.outcome == Outcome::failed || fallback.outcome == Outcome::failed) {
                done(preferred.outcome == Outcome::failed ? preferred : fallback);
            } else if (preferred.outcome == Outcome::done || fallback.outcome == Outcome::done) {
                done({ Outcome::done, {}, {} });
            } else {
                done({ Outcome::notFound, {}, {} });
            }
        });
    });
}
