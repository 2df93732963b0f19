#pragma once

#include <QString>
#include <QStringList>

#include <optional>

class UserDefaults;

// What the tally box does while the switcher is gone (quit, crashed, network
// down), and whether the lights go out when Mixdesk Tally itself quits.
//
// By default the lights keep their last state and nothing is sent: a
// switcher restarted mid-show must not black out the studio. Some studios
// would rather have a lit light mean "on air, now" and nothing else; they
// can switch the lights off, or make them blink after a grace period so the
// camera operators see that the tally has gone stale.
struct LostSourcePolicy {
    enum class Action {
        keepLights, // nothing is sent; the box shows the last state
        turnOff, // every light is sent off on every tick while lost
        blink, // after blinkAfterSeconds the last state blinks, 0.5 s on, 0.5 s off
    };

    Action action = Action::keepLights;
    int blinkAfterSeconds = defaultBlinkAfterSeconds;
    // Every light is sent off when the program ends normally.
    bool turnOffAtQuit = false;

    static constexpr int defaultBlinkAfterSeconds = 10;
    static constexpr int blinkHalfPeriodMilliseconds = 500;

    // "keep", "off", "blink": the names the command line and the settings
    // use.
    static QString nameOf(Action action);
    static std::optional<Action> actionNamed(const QString& name);
    static QStringList actionNames();

    // The policy the preferences hold; defaults where a key was never set
    // or holds something unreadable.
    static LostSourcePolicy fromDefaults(const UserDefaults& defaults);
    void storeIn(UserDefaults& defaults) const;

    // This policy with what a command line (or a second launch) chose put
    // over it: the action and the blink's grace period when given, and the
    // lights off at quit when asked for (never unasked).
    LostSourcePolicy overriddenBy(
        std::optional<Action> chosenAction, std::optional<int> chosenBlinkAfterSeconds, bool lightsOffAtQuit) const;

    bool operator==(const LostSourcePolicy&) const = default;
};

namespace Preferences {

// "keep" (default), "off" or "blink".
inline const QString whenSourceLost = QStringLiteral("WhenSourceLost");
// Seconds of keeping the lights before blinking starts (default 10).
inline const QString blinkAfterSeconds = QStringLiteral("BlinkAfterSeconds");
// Every light off when the program quits (default false).
inline const QString lightsOffAtQuit = QStringLiteral("LightsOffAtQuit");

} // namespace Preferences
