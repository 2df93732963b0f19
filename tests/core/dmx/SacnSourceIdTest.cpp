#include "dmx/SacnSourceId.h"

#include "base/UserDefaults.h"

#include <QTemporaryDir>

#include <gtest/gtest.h>

TEST(SacnSourceIdTest, MadeOnceAndKeptInTheSettings)
{
    QTemporaryDir folder;
    ASSERT_TRUE(folder.isValid());
    const QString path = folder.filePath(QStringLiteral("preferences.ini"));
    QUuid first;
    {
        UserDefaults defaults(path);
        EXPECT_FALSE(defaults.objectForKey(Preferences::sacnSourceId).isValid());
        first = sacnSourceId(defaults);
        EXPECT_FALSE(first.isNull());
        EXPECT_EQ(sacnSourceId(defaults), first);
    }
    UserDefaults reopened(path);
    EXPECT_EQ(QUuid(reopened.objectForKey(Preferences::sacnSourceId).toString()), first);
    EXPECT_EQ(sacnSourceId(reopened), first);

    QTemporaryDir otherFolder;
    UserDefaults other(otherFolder.filePath(QStringLiteral("preferences.ini")));
    EXPECT_NE(sacnSourceId(other), first);
}

TEST(SacnSourceIdTest, AnUnreadableStoredIdIsReplaced)
{
    QTemporaryDir folder;
    UserDefaults defaults(folder.filePath(QStringLiteral("preferences.ini")));
    defaults.setObject(Preferences::sacnSourceId, QStringLiteral("not a uuid"));
    const QUuid made = sacnSourceId(defaults);
    EXPECT_FALSE(made.isNull());
    EXPECT_EQ(QUuid(defaults.objectForKey(Preferences::sacnSourceId).toString()), made);
}
