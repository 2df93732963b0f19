#include "tally/LostSourcePolicy.h"

#include "base/UserDefaults.h"

namespace {

struct NamedAction {
    LostSourcePolicy::Action action;
    const char* name;
};

constexpr NamedAction namedActions[] = {
    { LostSourcePolicy::Action::keepLights, "keep" },
    { LostSourcePolicy::Action::turnOff, "off" },
    { LostSourcePolicy::Action::blink, "blink" },
};

} // namespace

QString LostSourcePolicy::nameOf(Action action)
{
    for (const NamedAction& named : namedActions) {
        if (named.action == action) {
            return QString::fromLatin1(named.name);
        }
    }
    return QStringLiteral("keep");
}

std::optional<LostSourcePolicy::Action> LostSourcePolicy::actionNamed(const QString& name)
{
    for (const NamedAction& named : namedActions) {
        if (name == QLatin1String(named.name)) {
            return named.action;
        }
    }
    return std::nullopt;
}

QStringList LostSourcePolicy::actionNames()
{
    QStringList names;
    for (const NamedAction& named : namedActions) {
        names.append(QString::fromLatin1(named.name));
    }
    return names;
}

LostSourcePolicy LostSourcePolicy::fromDefaults(const UserDefaults& defaults)
{
    LostSourcePolicy policy;
    if (const std::optional<Action> action
        = actionNamed(defaults.objectForKey(Preferences::whenSourceLost).toString())) {
        policy.action = *action;
    }
    bool isNumber = false;
    const int seconds = defaults.objectForKey(Preferences::blinkAfterSeconds).toInt(&isNumber);
    if (isNumber && seconds >= 0) {
        policy.blinkAfterSeconds = seconds;
    }
    policy.turnOffAtQuit = defaults.boolForKey(Preferences::lightsOffAtQuit);
    return policy;
}

void LostSourcePolicy::storeIn(UserDefaults& defaults) const
{
    defaults.setObject(Preferences::whenSourceLost, nameOf(action));
    defaults.setObject(Preferences::blinkAfterSeconds, blinkAfterSeconds);
    defaults.setBool(Preferences::lightsOffAtQuit, turnOffAtQuit);
}

LostSourcePolicy LostSourcePolicy::overriddenBy(
    std::optional<Action> chosenAction, std::optional<int> chosenBlinkAfterSeconds, bool lightsOffAtQuit) const
{
    LostSourcePolicy policy = *this;
    if (chosenAction) {
        policy.action = *chosenAction;
    }
    if (chosenBlinkAfterSeconds) {
        policy.blinkAfterSeconds = *chosenBlinkAfterSeconds;
    }
    if (lightsOffAtQuit) {
        policy.turnOffAtQuit = true;
    }
    return policy;
}
