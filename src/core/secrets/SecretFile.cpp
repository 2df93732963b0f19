#include "secrets/SecretFile.h"

#include "base/Problem.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>

#include <cstdio>
#include <unistd.h>

namespace {

constexpr QFileDevice::Permissions ownerOnly = QFileDevice::ReadOwner | QFileDevice::WriteOwner;

SecretStore::Answer answer(SecretStore::Outcome outcome, const QString& secret = {}, const QString& error = {})
{
    return { outcome, secret, error };
}

} // namespace

SecretFile::SecretFile(QString path)
    : m_path(std::move(path))
{
}

QString SecretFile::besideSettings(const QString& settingsFilePath)
{
    return QFileInfo(settingsFilePath).dir().filePath(QStringLiteral("secrets.json"));
}

QString SecretFile::description() const
{
    return QStringLiteral("the file %1, readable by this user only").arg(QDir::toNativeSeparators(m_path));
}

void SecretFile::read(const QString& key, Done done)
{
    QString error;
    const std::optional<QJsonObject> secrets = load(&error);
    if (!secrets) {
        done(answer(Outcome::failed, {}, error));
    } else if (!secrets->contains(key)) {
        done(answer(Outcome::notFound));
    } else {
        done(answer(Outcome::done, secrets->value(key).toString()));
    }
}

void SecretFile::write(const QString& key, const QString& secret, Done done)
{
    QString error;
    std::optional<QJsonObject> secrets = load(&error);
    if (!secrets) {
        done(answer(Outcome::failed, {}, error));
        return;
    }
    secrets->insert(key, secret);
    if (!save(*secrets, &error)) {
        done(answer(Outcome::failed, {}, error));
        return;
    }
    done(answer(Outcome::done));
}

void SecretFile::remove(const QString& key, Done done)
{
    QString error;
    std::optional<QJsonObject> secrets = load(&error);
    if (!secrets) {
        done(answer(Outcome::failed, {}, error));
        return;
    }
    if (!secrets->contains(key)) {
        done(answer(Outcome::notFound));
        return;
    }
    secrets->remove(key);
    if (secrets->isEmpty()) {
        // Nothing left to keep: no file is better than an empty one.
        QFile file(m_path);
        if (!file.remove()) {
            done(answer(Outcome::failed, {}, file.errorString()));
            return;
        }
    } else if (!save(*secrets, &error)) {
        done(answer(Outcome::failed, {}, error));
        return;
    }
    done(answer(Outcome::done));
}

std::optional<QJsonObject> SecretFile::load(QString* problem) const
{
    QFile file(m_path);
    if (!file.exists()) {
        return QJsonObject();
    }
    if (!file.open(QIODevice::ReadOnly)) {
        reportProblem(problem, QStringLiteral("cannot read %1: %2").arg(m_path, file.errorString()));
        return std::nullopt;
    }
    QJsonParseError parseError {};
    const QJsonDocument document = QJsonDocument::fromJson(file.readAll(), &parseError);
    if (parseError.error != QJsonParseError::NoError || !document.isObject()) {
        reportProblem(problem, QStringLiteral("%1 is not a secrets file").arg(m_path));
        return std::nullopt;
    }
    return document.object();
}

bool SecretFile::save(const QJsonObject& secrets, QString* problem) const
{
    QDir().mkpath(QFileInfo(m_path).absolutePath());
    const QString temporary = m_path + QStringLiteral(".new");
    // A left-over from a crash is not ours to trust: it may have been made
    // by someone else, with other permissions.
    QFile::remove(temporary);
    QFile file(temporary);
    // NewOnly: created here and now, 0600 from the first moment, never an
    // existing file (or a link someone planted) written through.
    if (!file.open(QIODevice::WriteOnly | QIODevice::NewOnly, ownerOnly)) {
        return reportProblem(problem, QStringLiteral("cannot create %1: %2").arg(temporary, file.errorString()));
    }
    const QByteArray bytes = QJsonDocument(secrets).toJson(QJsonDocument::Indented);
    const bool written = file.write(bytes) == bytes.size() && file.flush() && ::fsync(file.handle()) == 0;
    file.close();
    if (!written) {
        reportProblem(problem, QStringLiteral("cannot write %1: %2").arg(temporary, file.errorString()));
        QFile::remove(temporary);
        return false;
    }
    // rename(2) puts the new file in the old one's place in one step.
    if (std::rename(QFile::encodeName(temporary).constData(), QFile::encodeName(m_path).constData()) != 0) {
        reportProblem(problem, QStringLiteral("cannot replace %1").arg(m_path));
        QFile::remove(temporary);
        return false;
    }
    return true;
}
