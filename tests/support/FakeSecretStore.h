#pragma once

// A secret store in memory for tests: it can stand for a desktop store that
// answers, one that is not there, or one that refuses, and it can hold its
// answers back until the test lets them go, as a store waiting for the user
// to unlock it does.

#include "secrets/SecretStore.h"

#include <QList>
#include <QMap>

#include <functional>

class FakeSecretStore : public SecretStore {
public:
    QMap<QString, QString> secrets;
    // How every call ends: done (or notFound), unavailable or failed.
    Outcome behaviour = Outcome::done;
    // Answers wait in pending until answerAll() while set.
    bool holdAnswers = false;
    QList<std::function<void()>> pending;
    int reads = 0;
    int writes = 0;
    int removals = 0;

    void read(const QString& key, Done done) override
    {
        ++reads;
        answer([this, key, done] {
            if (behaviour != Outcome::done) {
                done({ behaviour, {}, QStringLiteral("no store") });
            } else if (!secrets.contains(key)) {
                done({ Outcome::notFound, {}, {} });
            } else {
                done({ Outcome::done, secrets.value(key), {} });
            }
        });
    }

    void write(const QString& key, const QString& secret, Done done) override
    {
        ++writes;
        answer([this, key, secret, done] {
            if (behaviour != Outcome::done) {
                done({ behaviour, {}, QStringLiteral("no store") });
                return;
            }
            secrets.insert(key, secret);
            done({ Outcome::done, {}, {} });
        });
    }

    void remove(const QString& key, Done done) override
    {
        ++removals;
        answer([this, key, done] {
            if (behaviour != Outcome::done) {
                done({ behaviour, {}, QStringLiteral("no store") });
                return;
            }
            done({ secrets.remove(key) > 0 ? Outcome::done : Outcome::notFound, {}, {} });
        });
    }

    QString description() const override { return QStringLiteral("the fake store"); }

    void answerAll()
    {
        while (!pending.isEmpty()) {
            pending.takeFirst()();
        }
    }

private:
    void answer(std::function<void()> reply)
    {
        if (holdAnswers) {
            pending.append(std::move(reply));
        } else {
            reply();
        }
    }
};
