#pragma once

#include "secrets/SecretStore.h"

#include <memory>

// The desktop's secret store first, and a file only the user can read when
// no store answers. Secrets go to the store whenever it answers, and a copy
// left in the file from a time without one is removed then, so the file
// exists only while it is needed. Reading asks the store, then the file.
// Removing clears both.
class FallbackSecretStore : public SecretStore {
public:
    FallbackSecretStore(std::unique_ptr<SecretStore> preferred, std::unique_ptr<SecretStore> fallback);

    void read(const QString& key, Done done) override;
    void write(const QString& key, const QString& secret, Done done) override;
    void remove(const QString& key, Done done) override;
    QString description() const override;

private:
    std::unique_ptr<SecretStore> m_preferred;
    std::unique_ptr<SecretStore> m_fallback;
};
