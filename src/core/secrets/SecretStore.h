#pragma once

#include <QString>

#include <functional>

// Where the program keeps what must not lie about in the settings file (the
// switcher's password): the desktop's secret store, or a file only the user
// can read where there is none. Every call answers once, through its done
// function, perhaps before it returns (a file) and perhaps much later (a
// store that first asks the user to unlock it); the caller never waits.
// Whoever calls must outlive the answer or guard against being gone. Main
// thread only.
class SecretStore {
public:
    enum class Outcome {
        done, // read, written or removed
        notFound, // nothing kept under that key (removing it is then done)
        unavailable, // no store answers: none runs, or none can be reached
        failed, // the store answered and refused (locked, access denied, a full disk)
    };
    struct Answer {
        Outcome outcome = Outcome::failed;
        QString secret; // what was read; empty otherwise
        QString error; // in words, for failed and unavailable
    };
    using Done = std::function<void(const Answer&)>;

    virtual ~SecretStore() = default;

    virtual void read(const QString& key, Done done) = 0;
    virtual void write(const QString& key, const QString& secret, Done done) = 0;
    virtual void remove(const QString& key, Done done) = 0;
    // Where the secrets are kept, in words, for the log.
    virtual QString description() const = 0;
};
