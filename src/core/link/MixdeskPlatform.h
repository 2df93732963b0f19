#pragma once

#include "link/ScriptResult.h"
#include "link/SipCheck.h"

#include <QString>

#include <memory>
#include <optional>

// A script made from a resource file, ready to run. A new one is made for
// every query; nothing is kept between queries.
class LoadedScript {
public:
    virtual ~LoadedScript() = default;

    // Runs the script synchronously: its result, or error information.
    virtual ScriptResult execute() = 0;
};

// What the shot query needs from the system it runs on. Linux counts
// processes and runs the query script as a child process; macOS asks the
// running applications by bundle identifier, the Apple Event permission
// system and an in-process AppleScript runner. Tests use a double.
class MixdeskPlatform {
public:
    virtual ~MixdeskPlatform() = default;

    // How many copies of the application with this bundle identifier run.
    virtual int runningApplicationCount(const QString& bundleIdentifier) const = 0;

    // Whether at least one copy runs: what the update tick asks, twice a
    // tick. A platform may answer it more cheaply than by counting.
    virtual bool isApplicationRunning(const QString& bundleIdentifier)
    {
        return runningApplicationCount(bundleIdentifier) > 0;
    }

    // The automation permission check for that application.
    virtual SipCheckResult checkSip(const QString& bundleIdentifier) = 0;

    // The file of a script resource, named without extension
    // ("query_shots"): each platform knows its own file name and place
    // (query_shots here, query_shots.scpt in a macOS bundle). Absent when
    // the file is not there.
    virtual std::optional<QString> scriptResource(const QString& name) const = 0;

    // Where resources are looked up, for the message when one is missing.
    virtual QString resourceDirectory() const = 0;

    // A script from that file, or nothing when it cannot be loaded.
    virtual std::unique_ptr<LoadedScript> loadScript(const QString& file) = 0;
};

// The platform of the system this program runs on.
std::shared_ptr<MixdeskPlatform> makeHostMixdeskPlatform();
