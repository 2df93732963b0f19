#include "PhoneLinksAnnouncement.h"

#include "outputs/QrCode.h"
#include "support/QtPrinters.h"

#include <gtest/gtest.h>

namespace {

const QList<PhoneLink> twoAddresses
    = PhoneLinks::forPages({ QStringLiteral("http://10.0.0.5:8080/"), QStringLiteral("http://192.168.1.20:8080/") }, 8);

} // namespace

TEST(PhoneLinksAnnouncementTest, IntoAFileOrPipeOnlyTheAddressesOneALine)
{
    const QStringList lines = PhoneLinksAnnouncement::lines(twoAddresses, false);
    ASSERT_EQ(lines.size(), 1 + 18);
    EXPECT_EQ(lines.first(), QStringLiteral("Phones can open the tally page at:"));
    EXPECT_EQ(lines.at(1), QStringLiteral("  http://10.0.0.5:8080/             All lights"));
    EXPECT_EQ(lines.at(9), QStringLiteral("  http://10.0.0.5:8080/light/8      Light 8"));
    EXPECT_EQ(lines.last(), QStringLiteral("  http://192.168.1.20:8080/light/8  Light 8"));
    EXPECT_FALSE(lines.join(QLatin1Char('\n')).contains(QChar(0x2588)));
}

TEST(PhoneLinksAnnouncementTest, AtATerminalEachAddresssListOfLightsFollowsAsAQrCode)
{
    const QStringList lines = PhoneLinksAnnouncement::lines(twoAddresses, true);
    EXPECT_EQ(lines.mid(0, 19), PhoneLinksAnnouncement::lines(twoAddresses, false));
    const qsizetype firstCode = lines.indexOf(QStringLiteral("http://10.0.0.5:8080/"), 19);
    const qsizetype secondCode = lines.indexOf(QStringLiteral("http://192.168.1.20:8080/"), 19);
    ASSERT_EQ(firstCode, 19);
    ASSERT_GT(secondCode, firstCode + 10);
    const QString firstPicture = lines.mid(firstCode + 1, secondCode - firstCode - 1).join(QLatin1Char('\n')) + '\n';
    EXPECT_EQ(firstPicture, QrCode::encode(QStringLiteral("http://10.0.0.5:8080/"))->terminalText());
}

TEST(PhoneLinksAnnouncementTest, NoPageNothingToSay)
{
    EXPECT_TRUE(PhoneLinksAnnouncement::lines({}, true).isEmpty());
}
