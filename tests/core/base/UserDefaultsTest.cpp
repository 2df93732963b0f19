#include "base/UserDefaults.h"

#include "support/QtPrinters.h"

#include <QSettings>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace {

class UserDefaultsTest : public testing::Test {
protected:
    QString settingsFile() const { return m_dir.filePath(QStringLiteral("Mixdesk Tally.conf")); }

    // What is written in the file, read without the registered defaults.
    QStringList storedKeys() const { return QSettings(settingsFile(), QSettings::IniFormat).allKeys(); }

private:
    QTemporaryDir m_dir;
};

TEST_F(UserDefaultsTest, FirstStartReadsAlwaysOnTopFalseAndShowEmptyLayersTrue)
{
    UserDefaults defaults(settingsFile());
    Preferences::registerDefaults(defaults);

    EXPECT_FALSE(defaults.boolForKey(Preferences::alwaysOnTop));
    EXPECT_TRUE(defaults.boolForKey(Preferences::showEmptyLayers));
}

TEST_F(UserDefaultsTest, UserSetValueSurvivesRestartAndRegisteringAgainKeepsIt)
{
    {
        UserDefaults firstRun(settingsFile());
        Preferences::registerDefaults(firstRun);
        firstRun.setBool(Preferences::alwaysOnTop, true);
        firstRun.setBool(Preferences::showEmptyLayers, false);
    }

    UserDefaults secondRun(settingsFile());
    EXPECT_TRUE(secondRun.boolForKey(Preferences::alwaysOnTop));
    EXPECT_FALSE(secondRun.boolForKey(Preferences::showEmptyLayers));

    Preferences::registerDefaults(secondRun);
    EXPECT_TRUE(secondRun.boolForKey(Preferences::alwaysOnTop));
    EXPECT_FALSE(secondRun.boolForKey(Preferences::showEmptyLayers));
    EXPECT_EQ(QSettings(settingsFile(), QSettings::IniFormat).value(Preferences::showEmptyLayers).toBool(), false);
}

TEST_F(UserDefaultsTest, RegisteredDefaultsAreNotWrittenToTheFile)
{
    {
        UserDefaults defaults(settingsFile());
        Preferences::registerDefaults(defaults);
        EXPECT_TRUE(defaults.boolForKey(Preferences::showEmptyLayers));
    }
    EXPECT_EQ(storedKeys(), QStringList {});

    UserDefaults afterRestart(settingsFile());
    EXPECT_FALSE(afterRestart.objectForKey(Preferences::showEmptyLayers).isValid());
    EXPECT_FALSE(afterRestart.boolForKey(Preferences::showEmptyLayers));
}

TEST_F(UserDefaultsTest, SetBoolIsWrittenAtOnceAndOnlyForItsKey)
{
    UserDefaults defaults(settingsFile());
    Preferences::registerDefaults(defaults);
    defaults.setBool(Preferences::alwaysOnTop, true);

    // A second reader of the same file sees the value while the first is alive.
    EXPECT_TRUE(UserDefaults(settingsFile()).boolForKey(Preferences::alwaysOnTop));
    EXPECT_EQ(storedKeys(), QStringList { Preferences::alwaysOnTop });
}

TEST_F(UserDefaultsTest, StoredValueWinsOverRegisteredDefault)
{
    UserDefaults defaults(settingsFile());
    defaults.setBool(Preferences::showEmptyLayers, false);
    Preferences::registerDefaults(defaults);

    EXPECT_FALSE(defaults.boolForKey(Preferences::showEmptyLayers));
    EXPECT_EQ(defaults.objectForKey(Preferences::showEmptyLayers).toBool(), false);
}

TEST_F(UserDefaultsTest, KeyNeitherSetNorRegisteredIsFalseAndHasNoObject)
{
    UserDefaults defaults(settingsFile());
    Preferences::registerDefaults(defaults);

    EXPECT_FALSE(defaults.boolForKey(QStringLiteral("NoSuchKey")));
    EXPECT_FALSE(defaults.objectForKey(QStringLiteral("NoSuchKey")).isValid());
}

TEST_F(UserDefaultsTest, RegisteringAKeyAgainTakesTheNewDefault)
{
    UserDefaults defaults(settingsFile());
    defaults.registerDefaults({ { QStringLiteral("Volume"), 3 } });
    defaults.registerDefaults({ { QStringLiteral("Volume"), 0 }, { QStringLiteral("Muted"), true } });

    EXPECT_EQ(defaults.objectForKey(QStringLiteral("Volume")).toInt(), 0);
    EXPECT_FALSE(defaults.boolForKey(QStringLiteral("Volume")));
    EXPECT_TRUE(defaults.boolForKey(QStringLiteral("Muted")));
}

TEST_F(UserDefaultsTest, RegisteredDefaultsAreTheTwoPreferencesAndTheEditingComfortsOffByDefault)
{
    const QVariantMap expected {
        { QStringLiteral("AlwaysOnTop"), false },
        { QStringLiteral("ShowEmptyLayers"), true },
        { QStringLiteral("AskBeforeDiscardingChanges"), false },
        { QStringLiteral("ShotEditorCancel"), false },
    };
    EXPECT_EQ(Preferences::registeredDefaults(), expected);
}

TEST_F(UserDefaultsTest, StandardUserDefaultsCanBeMovedToAnotherFileKeepingRegisteredDefaults)
{
    UserDefaults& standard = UserDefaults::standardUserDefaults();
    EXPECT_EQ(&standard, &UserDefaults::standardUserDefaults());

    standard.useSettingsFile(settingsFile());
    Preferences::registerDefaults(standard);
    EXPECT_EQ(standard.settingsFilePath(), settingsFile());
    EXPECT_TRUE(standard.boolForKey(Preferences::showEmptyLayers));

    standard.setBool(Preferences::showEmptyLayers, false);
    EXPECT_EQ(storedKeys(), QStringList { Preferences::showEmptyLayers });

    const QTemporaryDir otherDir;
    standard.useSettingsFile(otherDir.filePath(QStringLiteral("other.conf")));
    EXPECT_TRUE(standard.boolForKey(Preferences::showEmptyLayers));
}

} // namespace
