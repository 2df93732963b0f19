#include "lock/PasswordCheck.h"

#include "base/Text.h"
#include "lock/PasswordDigest.h"

#include <algorithm>
#include <utility>

namespace {

// Spaces in the Unicode sense (the plain space, no-break and the typographic
// spaces) and the horizontal tab.
bool isSpaceOrTab(QChar character)
{
    return character == QLatin1Char('\t') || character.category() == QChar::Separator_Space;
}

PasswordCheck::Outcome refused(const QString& message)
{
    PasswordCheck::Outcome outcome;
    outcome.errorMessage = message;
    return outcome;
}

} // namespace

PasswordCheck::PasswordCheck(PasswordMode mode, QString matchPassword)
    : m_mode(mode)
    , m_matchPassword(std::move(matchPassword))
{
}

PasswordCheck::Outcome PasswordCheck::check(const QString& primary, const QString& confirm) const
{
    if (m_mode == PasswordMode::set) {
        return checkNewPassword(primary, confirm);
    }
    return checkEnteredPassword(primary);
}

bool PasswordCheck::isBlank(const QString& text)
{
    return std::all_of(text.cbegin(), text.cend(), isSpaceOrTab);
}

PasswordCheck::Outcome PasswordCheck::checkNewPassword(const QString& primary, const QString& confirm) const
{
    // Blankness is only a test: the password itself keeps any spaces around
    // it, and both the comparison and the digest use the text as typed.
    if (isBlank(primary)) {
        return refused(emptyPasswordMessage);
    }
    // Two entries that differ only in Unicode composition (an input method
    // may produce either) are the same text to the person typing them.
    if (!Text::equal(primary, confirm)) {
        return refused(mismatchMessage);
    }
    Outcome outcome;
    outcome.accepted = true;
    outcome.passwordHash = passwordDigest(primary);
    return outcome;
}

PasswordCheck::Outcome PasswordCheck::checkEnteredPassword(const QString& primary) const
{
    // An empty entry is digested like any other: it unlocks exactly when the
    // stored digest is that of the empty password.
    const bool matched = passwordDigest(primary) == m_matchPassword;
    Outcome outcome = matched ? Outcome {} : refused(wrongPasswordMessage);
    outcome.accepted = matched;
    outcome.passwordMatched = matched;
    return outcome;
}
