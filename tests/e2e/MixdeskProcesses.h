#pragma once

// The running check counts every live process named mixdesk of this user on
// the machine, not only the test's own stand-in: a test that needs Mixdesk
// absent checks that no other one (another test run, a person's stand-in) is
// up.

#include "link/Mixdesk.h"
#include "link/linux/LinuxMixdeskPlatform.h"

inline bool anyMixdeskRunning()
{
    return LinuxMixdeskPlatform().runningApplicationCount(mixdeskBundleIdentifier) > 0;
}
