#pragma once

#include "secrets/SecretStore.h"

#include <QJsonObject>

#include <optional>

// Secrets in a file only the user can read and write (0600), for computers
// where no secret store answers. The file is written whole each time: a new
// file is created 0600 beside it, before a byte is written, and then put in
// the old one's place, so no other user can read it at any moment and a
// crash leaves the old file or the new one, never half of either. With its
// last secret removed the file goes too. Answers before returning.
class SecretFile : public SecretStore {
public:
    explicit SecretFile(QString path);

    void read(const QString& key, Done done) override;
    void write(const QString& key, const QString& secret, Done done) override;
    void remove(const QString& key, Done done) override;
    QString description() const override;

    const QString& path() const { return m_path; }

    // The file beside a settings file.
    static QString besideSettings(const QString& settingsFilePath);

private:
    // The secrets now in the file, empty when there is none; nothing, with
    // the reason, when it cannot be read.
    std::optional<QJsonObject> load(QString* problem) const;
    bool save(const QJsonObject& secrets, QString* problem) const;

    QString m_path;
};
