#pragma once

#include "app/LostSourcePolicy.h"
#include "sources/ShotSource.h"

#include <QString>
#include <QStringList>

#include <memory>
#include <optional>

// The choices a launch of mixdesk-tally or tallyctl watch can make beyond the
// defaults: where the shots come from and where else the lights go. With none
// given, the shots come from Mixdesk's query and the lights go to the window
// and the tally box only.
struct RunOptions {
    // "mixdesk" (the default), or a switcher's address such as
    // "obs://HOST:PORT".
    QString source = QStringLiteral("mixdesk");
    // A file whose first line is the switcher's password.
    QString passwordFile;
    // What the lights do while the source is lost, and at quit; unset
    // choices leave the saved preference (or the default) in force.
    std::optional<LostSourcePolicy::Action> whenSourceLost;
    std::optional<int> blinkAfterSeconds;
    bool lightsOffAtQuit = false;

    // base with the choices made on the command line put over it.
    LostSourcePolicy lostSourcePolicy(LostSourcePolicy base = {}) const;

    // Takes the options it knows out of arguments ("--source X" and
    // "--source=X" alike) and leaves the rest (files, a command's own
    // options) in place. A known option with a missing or bad value is a
    // usage problem, returned in words.
    static std::optional<QString> takeFrom(QStringList& arguments, RunOptions* options);

    // One line per option, for --help.
    static QStringList helpLines();
};

// The shot source the options choose, or nothing with the reason in problem.
std::unique_ptr<ShotSource> makeShotSource(const RunOptions& options, QString* problem);
