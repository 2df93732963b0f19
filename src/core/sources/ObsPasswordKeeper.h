#pragma once

#include "secrets/SecretStore.h"

#include <QString>

#include <functional>
#include <memory>
#include <optional>

class UserDefaults;

// OBS Studio's password for the source the window remembers, kept in a
// SecretStore and never in the settings file. Earlier versions wrote it
// there in plain text: fetch() moves such a password into the store and
// deletes it from the file. Choosing another source forgets the password.
// Nothing here waits on the store; a password read at start arrives through
// a callback, and trouble goes to the system log. Main thread only.
class ObsPasswordKeeper {
public:
    using Give = std::function<void(const QString& password)>;

    // The name the password is kept under in the store.
    static const QString secretKey;

    // Without a store, the password goes to a file only the user can read,
    // beside the settings file.
    ObsPasswordKeeper(UserDefaults& defaults, std::unique_ptr<SecretStore> store);

    // At start: a password an earlier version left in the settings file
    // goes to the store and out of the file (once the store has it; should
    // the store refuse it, it stays rather than be lost). It is known() from
    // then on. Nothing else touches the store, so a start that needs no
    // password never wakes the desktop's keyring.
    void moveOutOfSettings();
    // The remembered password, handed to give once known (empty for none):
    // at once when known(), else when the store answers.
    void fetch(Give give);
    // The password of a newly chosen OBS source; an empty one is forgotten.
    void keep(const QString& password);
    // The source is no longer OBS: nothing of its password stays.
    void forget();

    // The password as last fetched or kept; nothing before the first answer.
    const std::optional<QString>& known() const { return m_known; }
    SecretStore& store() { return *m_store; }

private:
    UserDefaults& m_defaults;
    std::unique_ptr<SecretStore> m_store;
    std::optional<QString> m_known;
};
