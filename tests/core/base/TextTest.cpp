#include "base/Text.h"

#include "support/QtPrinters.h"

#include <gtest/gtest.h>

namespace {

const QString precomposed = QString::fromUtf8("Caf\xC3\xA9"); // é as one code point
const QString decomposed = QString::fromUtf8("Cafe\xCC\x81"); // e + combining acute

} // namespace

TEST(TextTest, CanonicallyEquivalentStringsAreEqual)
{
    ASSERT_NE(precomposed, decomposed);
    EXPECT_TRUE(Text::equal(precomposed, decomposed));
    EXPECT_EQ(Text::canonical(precomposed), Text::canonical(decomposed));
}

TEST(TextTest, ComparisonIsCaseSensitive)
{
    EXPECT_FALSE(Text::equal(QStringLiteral("Camera 1"), QStringLiteral("camera 1")));
}

TEST(TextTest, DifferentTextIsNotEqual)
{
    EXPECT_FALSE(Text::equal(QStringLiteral("Cam 1"), QStringLiteral("Cam 1 ")));
    EXPECT_TRUE(Text::equal(QString(), QStringLiteral("")));
}

TEST(TextTest, AShownTitleTurnsDoubledPlaceholdersIntoOneAndLeavesLoneOnesOut)
{
    EXPECT_EQ(Text::shownWindowTitle(QStringLiteral("take[*][*]2.tlx")), QStringLiteral("take[*]2.tlx"));
    EXPECT_EQ(Text::shownWindowTitle(QStringLiteral("studio.tlx[*]")), QStringLiteral("studio.tlx"));
    EXPECT_EQ(Text::shownWindowTitle(QStringLiteral("plain.tlx")), QStringLiteral("plain.tlx"));
    const QString name = QStringLiteral("a[*]b[*][*]c.tlx");
    EXPECT_EQ(Text::shownWindowTitle(Text::literalWindowTitle(name)), name);
}

TEST(TextTest, MiddleElidedKeepsShortTextAndCutsALongOneAroundAnEllipsis)
{
    EXPECT_EQ(Text::middleElided(QStringLiteral("studio"), 6), QStringLiteral("studio"));
    EXPECT_EQ(Text::middleElided(QStringLiteral("mqtt://broker/studio-a"), 8), QStringLiteral("mqtt…io-a"));
    const QString pasted = QStringLiteral("a") + QString(70000, QLatin1Char('x')) + QStringLiteral("z");
    const QString shown = Text::middleElided(pasted, 120);
    EXPECT_EQ(shown.size(), 121);
    EXPECT_TRUE(shown.startsWith(QStringLiteral("axx")));
    EXPECT_TRUE(shown.endsWith(QStringLiteral("xxz")));
    EXPECT_EQ(shown.at(60), QChar(0x2026));
}

TEST(TextTest, MnemonicsAreTheMarkedLettersUpperCasedAndADoubledAmpersandMarksNone)
{
    EXPECT_EQ(Text::mnemonicsOf(QStringLiteral("Open &Recent")), QList<QChar>({ QLatin1Char('R') }));
    EXPECT_EQ(Text::mnemonicsOf(QStringLiteral("Always on &top")), QList<QChar>({ QLatin1Char('T') }));
    EXPECT_TRUE(Text::mnemonicsOf(QStringLiteral("Q&&A Panel")).isEmpty());
    EXPECT_TRUE(Text::mnemonicsOf(QStringLiteral("Plain")).isEmpty());
    EXPECT_TRUE(Text::mnemonicsOf(QStringLiteral("Ends in &")).isEmpty());
    EXPECT_EQ(Text::mnemonicsOf(QStringLiteral("&&&Save &As")), QList<QChar>({ QLatin1Char('S'), QLatin1Char('A') }));
}
