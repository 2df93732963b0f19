#include "link/SipCheck.h"

SipCheckResult checkSip(const QString& bundleIdentifier, const AutomationPermissionServices& services)
{
    if (!services.isAtLeast10_14 || !services.isAtLeast10_14()) {
        return sipCheckResultWithoutPermissions();
    }
    const int status = services.determinePermissionToAutomateTarget(bundleIdentifier, typeWildCard, typeWildCard, true);
    return sipCheckResultForStatus(status, bundleIdentifier);
}

SipCheckResult sipCheckResultWithoutPermissions()
{
    return { { isSipEnabledKey, true } };
}

SipCheckResult sipCheckResultForStatus(int status, const QString& bundleIdentifier)
{
    auto result = [&](bool enabled, const char* message) {
        return SipCheckResult { { isSipEnabledKey, enabled },
            { sipMessageKey, QString::fromLatin1(message) + bundleIdentifier } };
    };
    switch (status) {
    case AutomationStatus::noErr:
        return result(true, "SIP check successfull for app with id ");
    case AutomationStatus::procNotFound:
        return result(false, "Not running app with id ");
    case AutomationStatus::errAEEventNotPermitted:
        return result(false, "User didn't allow usage for app with id ");
    case AutomationStatus::errAEEventWouldRequireUserConsent:
        return result(false, "User consent required for app with id ");
    default:
        return { { isSipEnabledKey, false } };
    }
}
