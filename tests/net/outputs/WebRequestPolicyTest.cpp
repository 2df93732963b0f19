#include "outputs/WebRequestPolicy.h"

#include <gtest/gtest.h>

namespace {

const WebRequestPolicy policy({ QStringLiteral("studio-pc"), QStringLiteral("studio-pc.local") });

TEST(WebRequestPolicyTest, AddressesLocalhostAndTheMachinesOwnNamesAreThisPage)
{
    EXPECT_TRUE(policy.allowsHost("192.168.1.20:8080"));
    EXPECT_TRUE(policy.allowsHost("10.0.0.5"));
    EXPECT_TRUE(policy.allowsHost("[::1]:8080"));
    EXPECT_TRUE(policy.allowsHost("[fe80::1]"));
    EXPECT_TRUE(policy.allowsHost("localhost:8080"));
    EXPECT_TRUE(policy.allowsHost("Studio-PC:8080"));
    EXPECT_TRUE(policy.allowsHost("studio-pc.local."));
}

TEST(WebRequestPolicyTest, ARequestWithoutAHostIsNotABrowserAndIsServed)
{
    EXPECT_TRUE(policy.allowsHost(""));
}

TEST(WebRequestPolicyTest, AnyOtherNameIsAnotherSiteRebindingItsNameToThisMachine)
{
    EXPECT_FALSE(policy.allowsHost("evil.example"));
    EXPECT_FALSE(policy.allowsHost("evil.example:8080"));
    EXPECT_FALSE(policy.allowsHost("192.168.1.20.evil.example"));
    EXPECT_FALSE(policy.allowsHost("studio-pc.evil.example"));
    EXPECT_FALSE(policy.allowsHost("localhost.evil.example"));
    EXPECT_FALSE(policy.allowsHost("[::1"));
    EXPECT_FALSE(policy.allowsHost("::1:8080")) << "an IPv6 address must be in brackets";
    EXPECT_FALSE(policy.allowsHost(":8080"));
}

TEST(WebRequestPolicyTest, AWebSocketWithoutOriginOrFromThePageItselfIsAllowed)
{
    EXPECT_TRUE(policy.allowsWebSocketOrigin("", "192.168.1.20:8080"));
    EXPECT_TRUE(policy.allowsWebSocketOrigin("http://192.168.1.20:8080", "192.168.1.20:8080"));
    EXPECT_TRUE(policy.allowsWebSocketOrigin("http://Studio-PC.local:8080", "studio-pc.local:8080"));
}

TEST(WebRequestPolicyTest, AWebSocketFromAnyOtherOriginIsRefused)
{
    EXPECT_FALSE(policy.allowsWebSocketOrigin("http://evil.example", "192.168.1.20:8080"));
    EXPECT_FALSE(policy.allowsWebSocketOrigin("http://192.168.1.20:9090", "192.168.1.20:8080"));
    EXPECT_FALSE(policy.allowsWebSocketOrigin("https://192.168.1.20:8080", "192.168.1.20:8080"));
    EXPECT_FALSE(policy.allowsWebSocketOrigin("null", "192.168.1.20:8080"));
    EXPECT_FALSE(policy.allowsWebSocketOrigin("http://192.168.1.20:8080", ""));
}

TEST(WebRequestPolicyTest, TheMachinesNamesAreLowerCaseWithTheirLocalForm)
{
    const QStringList names = WebRequestPolicy::machineNames();
    ASSERT_FALSE(names.isEmpty());
    EXPECT_EQ(names.at(0), names.at(0).toLower());
    EXPECT_EQ(names.at(1), names.at(0) + QStringLiteral(".local"));
}

} // namespace
