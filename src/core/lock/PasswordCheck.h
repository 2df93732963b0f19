#pragma once

#include "lock/PasswordMode.h"

#include <QString>

#include <optional>

// The decision behind the password dialog's OK button, without the dialog:
// given what was typed, is the entry accepted, what digest or match result
// does it yield, and which message explains a refusal.
class PasswordCheck {
public:
    struct Outcome {
        bool accepted = false;
        // Shown to the user when the entry is refused; empty when accepted.
        QString errorMessage;
        // set: the digest of the new password once accepted, else empty.
        QString passwordHash;
        // collect: whether the entry's digest equals the stored one, known
        // for a refused attempt as well as for an accepted one.
        std::optional<bool> passwordMatched;
    };

    static inline const QString emptyPasswordMessage = QStringLiteral("The passsword may not be empty");
    static inline const QString mismatchMessage = QStringLiteral("Passsword do not match");
    static inline const QString wrongPasswordMessage = QStringLiteral("Sorry, wrong password");

    // matchPassword is the stored digest that a collect entry must reproduce;
    // set ignores it.
    explicit PasswordCheck(PasswordMode mode, QString matchPassword = {});

    // confirm is the repeated entry; collect ignores it.
    Outcome check(const QString& primary, const QString& confirm) const;

    // Only spaces and tabs count as blank around a password; a line break or
    // any other character makes it non-empty.
    static bool isBlank(const QString& text);

private:
    Outcome checkNewPassword(const QString& primary, const QString& confirm) const;
    Outcome checkEnteredPassword(const QString& primary) const;

    PasswordMode m_mode;
    QString m_matchPassword;
};
