#include "link/SipCheck.h"

#include "link/linux/LinuxMixdeskPlatform.h"
#include "support/QtPrinters.h"

#include <gtest/gtest.h>

namespace {

const QString identifier = QStringLiteral("com.mixdesk.Mixdesk");

struct RecordedQuery {
    int calls = 0;
    QString bundleIdentifier;
    quint32 eventClass = 0;
    quint32 eventId = 0;
    bool askUserIfNeeded = false;
};

AutomationPermissionServices servicesAnswering(int status, RecordedQuery& recorded, bool atLeast10_14 = true)
{
    return { [atLeast10_14] { return atLeast10_14; },
        [status, &recorded](const QString& bundleIdentifier, quint32 eventClass, quint32 eventId, bool ask) {
            ++recorded.calls;
            recorded.bundleIdentifier = bundleIdentifier;
            recorded.eventClass = eventClass;
            recorded.eventId = eventId;
            recorded.askUserIfNeeded = ask;
            return status;
        } };
}

} // namespace

TEST(SipCheckTest, OnASystemOlderThan10_14ResultIsEnabledWithoutMessageAndNothingIsAsked)
{
    RecordedQuery recorded;
    const SipCheckResult result = checkSip(identifier, servicesAnswering(-1743, recorded, false));
    EXPECT_EQ(result.value(isSipEnabledKey), QVariant(true));
    EXPECT_FALSE(result.contains(sipMessageKey));
    EXPECT_EQ(result.size(), 1);
    EXPECT_EQ(recorded.calls, 0);
}

TEST(SipCheckTest, LinuxPlatformAnswersAsASystemWithoutPermissions)
{
    LinuxMixdeskPlatform platform;
    const SipCheckResult result = platform.checkSip(identifier);
    EXPECT_EQ(result, SipCheckResult({ { isSipEnabledKey, true } }));
}

TEST(SipCheckTest, Status0GivesEnabledAndTheSuccessfullMessage)
{
    const SipCheckResult result = sipCheckResultForStatus(0, identifier);
    EXPECT_EQ(result.value(isSipEnabledKey), QVariant(true));
    EXPECT_EQ(result.value(sipMessageKey).toString(), "SIP check successfull for app with id com.mixdesk.Mixdesk");
}

TEST(SipCheckTest, StatusMinus1743GivesRefusedAndTheDidntAllowMessage)
{
    const SipCheckResult result = sipCheckResultForStatus(-1743, identifier);
    EXPECT_EQ(result.value(isSipEnabledKey), QVariant(false));
    EXPECT_EQ(result.value(sipMessageKey).toString(), "User didn't allow usage for app with id com.mixdesk.Mixdesk");
}

TEST(SipCheckTest, StatusMinus600GivesRefusedAndTheNotRunningMessage)
{
    const SipCheckResult result = sipCheckResultForStatus(-600, identifier);
    EXPECT_EQ(result.value(isSipEnabledKey), QVariant(false));
    EXPECT_EQ(result.value(sipMessageKey).toString(), "Not running app with id com.mixdesk.Mixdesk");
}

TEST(SipCheckTest, StatusMinus1744GivesRefusedAndTheConsentRequiredMessage)
{
    const SipCheckResult result = sipCheckResultForStatus(-1744, identifier);
    EXPECT_EQ(result.value(isSipEnabledKey), QVariant(false));
    EXPECT_EQ(result.value(sipMessageKey).toString(), "User consent required for app with id com.mixdesk.Mixdesk");
}

TEST(SipCheckTest, StatusOutsideTheTableGivesRefusedAndNoMessageKeyAtAll)
{
    for (const int status : { -1, 1, -1742, -1745, -601 }) {
        const SipCheckResult result = sipCheckResultForStatus(status, identifier);
        EXPECT_EQ(result, SipCheckResult({ { isSipEnabledKey, false } })) << status;
    }
}

TEST(SipCheckTest, MessageEndsWithWhateverIdentifierIsChecked)
{
    EXPECT_EQ(sipCheckResultForStatus(0, "org.example.Other").value(sipMessageKey).toString(),
        "SIP check successfull for app with id org.example.Other");
}

TEST(SipCheckTest, OnA10_14SystemAsksForAnyEventWithTheUsersConsentAndMapsTheStatus)
{
    RecordedQuery recorded;
    const SipCheckResult result = checkSip(identifier, servicesAnswering(-1744, recorded));
    EXPECT_EQ(recorded.calls, 1);
    EXPECT_EQ(recorded.bundleIdentifier, identifier);
    EXPECT_EQ(recorded.eventClass, 707406378u);
    EXPECT_EQ(recorded.eventId, 707406378u);
    EXPECT_TRUE(recorded.askUserIfNeeded);
    EXPECT_EQ(result, sipCheckResultForStatus(-1744, identifier));
}
