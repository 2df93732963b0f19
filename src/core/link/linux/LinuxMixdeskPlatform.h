#pragma once

#include "link/MixdeskPlatform.h"

// The query's platform on Linux. The production application (or its
// stand-in) runs under the process name "mixdesk" (only live processes of
// this user count); there is no automation
// permission, so the check answers as a system without one; the query script
// is the executable file "query_shots" in the resources directory, run as a
// child process unless it is the one shipped with the program.
class LinuxMixdeskPlatform : public MixdeskPlatform {
public:
    static inline const QString processName = QStringLiteral("mixdesk");
    // Set to a directory to take the resources from there instead.
    static inline const char resourceDirectoryVariable[] = "MIXDESK_TALLY_RESOURCE_DIR";

    // Tests give a directory laid out like /proc.
    explicit LinuxMixdeskPlatform(QString processRoot = QStringLiteral("/proc"));

    int runningApplicationCount(const QString& bundleIdentifier) const override;
    // Looks at the process found last time first, and at every process only
    // when that one has gone.
    bool isApplicationRunning(const QString& bundleIdentifier) override;
    SipCheckResult checkSip(const QString& bundleIdentifier) override;
    std::optional<QString> scriptResource(const QString& name) const override;
    // $MIXDESK_TALLY_RESOURCE_DIR, else share/mixdesk-tally next to the
    // executable's bin directory: build/<preset>/bin finds
    // build/<preset>/share/mixdesk-tally, <prefix>/bin finds
    // <prefix>/share/mixdesk-tally.
    QString resourceDirectory() const override;
    // The shipped query script is answered in this process where that gives
    // the same as running it (see ShippedQuery); any other script is run.
    std::unique_ptr<LoadedScript> loadScript(const QString& file) override;

private:
    QString m_processRoot;
    // The process number of the copy isApplicationRunning found last.
    QByteArray m_lastFound;
};
