#pragma once

#include <QString>
#include <QVariantMap>

#include <functional>

// Whether this program may automate the production application ("SIP" is the
// program's own word for that permission). The result is a small dictionary:
// "isSipEnabled" (bool, always present) and, for the four known outcomes of
// the permission query, "sipMessage" (a one-line text ending with the bundle
// identifier, kept for diagnosis only).
using SipCheckResult = QVariantMap;

inline const QString isSipEnabledKey = QStringLiteral("isSipEnabled");
inline const QString sipMessageKey = QStringLiteral("sipMessage");

// The event class and event ID wildcard '****': permission to send any event.
constexpr quint32 typeWildCard = 0x2A2A2A2A;

// What the permission check needs from the system. Where the system has no
// such permission (everything but macOS 10.14 and later) isAtLeast10_14
// answers false and the query is never made.
struct AutomationPermissionServices {
    std::function<bool()> isAtLeast10_14;
    // (bundle identifier, event class, event ID, ask the user if needed) -> status
    std::function<int(const QString&, quint32, quint32, bool)> determinePermissionToAutomateTarget;
};

// Asks, once, whether the application with this bundle identifier may be
// automated; the system may put up its consent prompt meanwhile. Never fails:
// every outcome is a result.
SipCheckResult checkSip(const QString& bundleIdentifier, const AutomationPermissionServices& services);

// The result of a system without automation permissions: allowed, no message.
SipCheckResult sipCheckResultWithoutPermissions();

// The result for a status of the permission query.
SipCheckResult sipCheckResultForStatus(int status, const QString& bundleIdentifier);

// Status codes of the permission query with a known meaning.
namespace AutomationStatus {
constexpr int noErr = 0;
constexpr int procNotFound = -600;
constexpr int errAEEventNotPermitted = -1743;
constexpr int errAEEventWouldRequireUserConsent = -1744;
} // namespace AutomationStatus
