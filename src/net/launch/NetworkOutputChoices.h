#pragma once

#include <QString>
#include <QStringList>

#include <optional>

struct RunOptions;
class UserDefaults;

// The outputs besides the window and the tally box, as the operator writes
// them: where the web tally page listens, the TSL UMD destinations and the
// display index offset. Kept as text, so that the settings hold and the
// dialog shows again what was typed; checked only when used. Everything is
// off by default.
struct NetworkOutputChoices {
    // "[ADDRESS:]PORT"; nothing: no web tally page. An empty text is a page
    // wanted without a port yet, which problem() refuses.
    std::optional<QString> web;
    // "udp://HOST:PORT", and also "tcp://HOST:PORT" for 5.0.
    QStringList tsl31Destinations;
    QStringList tsl50Destinations;
    // Light N is display index N + this.
    int tslIndexOffset = 0;

    // The TSL part (both destination lists and the offset) taken from other:
    // the part goes together, since the offset numbers both lists' displays.
    void takeTslFrom(const NetworkOutputChoices& other);
    bool sendsTsl() const { return !tsl31Destinations.isEmpty() || !tsl50Destinations.isEmpty(); }

    // Why these choices cannot be used, in words for the operator (no
    // command-line option names); nothing when they can.
    std::optional<QString> problem() const;
    // Launch options asking for exactly these outputs. Only for choices
    // without a problem.
    RunOptions runOptions() const;
    // The outputs the launch options ask for.
    static NetworkOutputChoices of(const RunOptions& options);

    // As stored in the preferences; a key nobody set is an output off.
    static NetworkOutputChoices saved(const UserDefaults& defaults);
    void save(UserDefaults& defaults) const;

    friend bool operator==(const NetworkOutputChoices&, const NetworkOutputChoices&) = default;
};
