#pragma once

#include "secrets/SecretStore.h"

#include <QObject>

namespace QKeychain {
class Job;
}

// The desktop's secret store through QtKeychain: the Secret Service (GNOME
// Keyring, KeePassXC...) or KWallet on Linux, the Keychain on macOS. Each
// call is one QtKeychain job on the event loop; a store that first asks the
// user to unlock it answers when the user has. Answers stop when this object
// goes: a job still running finishes and deletes itself unheard.
class KeychainSecretStore : public QObject, public SecretStore {
    Q_OBJECT

public:
    // service: the name secrets are kept under, the program's own.
    explicit KeychainSecretStore(QString service = QStringLiteral("Mixdesk Tally"), QObject* parent = nullptr);

    void read(const QString& key, Done done) override;
    void write(const QString& key, const QString& secret, Done done) override;
    void remove(const QString& key, Done done) override;
    QString description() const override;

private:
    void run(QKeychain::Job* job, const QString& key, Done done);

    QString m_service;
};
