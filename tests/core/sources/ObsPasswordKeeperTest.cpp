// OBS Studio's password: in the secret store, never in the settings file;
// moved out of the settings file where an earlier version left it; gone
// when the source is no longer OBS.

#include "sources/ObsPasswordKeeper.h"

#include "base/UserDefaults.h"
#include "secrets/FallbackSecretStore.h"
#include "secrets/SecretFile.h"
#include "support/FakeSecretStore.h"

#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace {

const QString password = QStringLiteral("stage door 7");

class ObsPasswordKeeperTest : public testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(directory.isValid());
        settingsPath = directory.filePath(QStringLiteral("settings.ini"));
    }

    void writeSettings(const QByteArray& text)
    {
        QFile file(settingsPath);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(text);
    }

    QByteArray settingsText() const
    {
        QFile file(settingsPath);
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }

    // A keeper on the fake store.
    std::unique_ptr<ObsPasswordKeeper> keeper()
    {
        auto owned = std::make_unique<FakeSecretStore>();
        store = owned.get();
        return std::make_unique<ObsPasswordKeeper>(*defaults, std::move(owned));
    }

    QTemporaryDir directory;
    QString settingsPath;
    std::unique_ptr<UserDefaults> defaults;
    FakeSecretStore* store = nullptr;
};

} // namespace

TEST_F(ObsPasswordKeeperTest, APasswordLeftInTheSettingsFileIsMovedToTheStoreAndDeletedFromTheFile)
{
    writeSettings("[General]\nShotSource=obs://127.0.0.1:4455\nObsPassword=" + password.toUtf8() + "\n");
    defaults = std::make_unique<UserDefaults>(settingsPath);
    auto keeping = keeper();
    keeping->moveOutOfSettings();
    store->holdAnswers = true;
    std::optional<QString> given;
    keeping->fetch([&](const QString& fetched) { given = fetched; });
    EXPECT_EQ(given, password) << "handed over at once, without waiting on the store";
    EXPECT_EQ(store->reads, 0);
    EXPECT_EQ(store->secrets.value(ObsPasswordKeeper::secretKey), password);
    EXPECT_FALSE(settingsText().contains(password.toUtf8())) << settingsText().toStdString();
    EXPECT_TRUE(settingsText().contains("ShotSource")) << "the rest of the settings stay";
    EXPECT_FALSE(defaults->objectForKey(Preferences::obsPassword).isValid());
}

TEST_F(ObsPasswordKeeperTest, APasswordTheStoreRefusesStaysInTheSettingsFileRatherThanBeLost)
{
    writeSettings("[General]\nObsPassword=" + password.toUtf8() + "\n");
    defaults = std::make_unique<UserDefaults>(settingsPath);
    auto keeping = keeper();
    store->behaviour = SecretStore::Outcome::failed;
    keeping->moveOutOfSettings();
    std::optional<QString> given;
    keeping->fetch([&](const QString& fetched) { given = fetched; });
    EXPECT_EQ(given, password);
    EXPECT_TRUE(settingsText().contains(password.toUtf8()));
}

TEST_F(ObsPasswordKeeperTest, TheStoredPasswordIsHandedOverWhenTheStoreAnswers)
{
    defaults = std::make_unique<UserDefaults>(settingsPath);
    auto keeping = keeper();
    store->secrets.insert(ObsPasswordKeeper::secretKey, password);
    store->holdAnswers = true;
    std::optional<QString> given;
    keeping->fetch([&](const QString& fetched) { given = fetched; });
    EXPECT_FALSE(given) << "nothing waits on the store";
    EXPECT_FALSE(keeping->known());
    store->answerAll();
    EXPECT_EQ(given, password);
    EXPECT_EQ(keeping->known(), password);
}

TEST_F(ObsPasswordKeeperTest, WithNoPasswordInTheSettingsFileTheStoreIsNotTouchedAtStart)
{
    writeSettings("[General]\nShotSource=mixdesk\n");
    defaults = std::make_unique<UserDefaults>(settingsPath);
    auto keeping = keeper();
    keeping->moveOutOfSettings();
    EXPECT_EQ(store->reads + store->writes + store->removals, 0);
    EXPECT_FALSE(keeping->known());
}

TEST_F(ObsPasswordKeeperTest, WithNothingStoredThePasswordIsEmpty)
{
    defaults = std::make_unique<UserDefaults>(settingsPath);
    auto keeping = keeper();
    std::optional<QString> given;
    keeping->fetch([&](const QString& fetched) { given = fetched; });
    EXPECT_EQ(given, QString());
}

TEST_F(ObsPasswordKeeperTest, AKeptPasswordGoesToTheStoreAndNeverToTheSettingsFile)
{
    defaults = std::make_unique<UserDefaults>(settingsPath);
    auto keeping = keeper();
    defaults->setObject(Preferences::shotSource, QStringLiteral("obs://127.0.0.1:4455"));
    keeping->keep(password);
    EXPECT_EQ(store->secrets.value(ObsPasswordKeeper::secretKey), password);
    EXPECT_EQ(keeping->known(), password);
    EXPECT_FALSE(settingsText().isEmpty());
    EXPECT_FALSE(settingsText().contains(password.toUtf8())) << settingsText().toStdString();
}

TEST_F(ObsPasswordKeeperTest, ForgettingRemovesTheStoredPasswordAndAnEmptyOneIsForgotten)
{
    defaults = std::make_unique<UserDefaults>(settingsPath);
    auto keeping = keeper();
    keeping->keep(password);
    keeping->forget();
    EXPECT_TRUE(store->secrets.isEmpty());
    EXPECT_EQ(keeping->known(), QString());
    keeping->keep(password);
    keeping->keep(QString());
    EXPECT_TRUE(store->secrets.isEmpty());
}

TEST_F(ObsPasswordKeeperTest, WithoutADesktopStoreOnlyThePrivateFileHoldsThePasswordAndItGoesWithTheSource)
{
    writeSettings("[General]\nObsPassword=" + password.toUtf8() + "\n");
    defaults = std::make_unique<UserDefaults>(settingsPath);
    auto missing = std::make_unique<FakeSecretStore>();
    missing->behaviour = SecretStore::Outcome::unavailable;
    const QString filePath = SecretFile::besideSettings(settingsPath);
    ObsPasswordKeeper keeping(
        *defaults, std::make_unique<FallbackSecretStore>(std::move(missing), std::make_unique<SecretFile>(filePath)));
    keeping.moveOutOfSettings();
    EXPECT_FALSE(settingsText().contains(password.toUtf8()));
    ASSERT_TRUE(QFile::exists(filePath));
    EXPECT_EQ(QFile::permissions(filePath) & ~(QFileDevice::ReadUser | QFileDevice::WriteUser),
        QFileDevice::ReadOwner | QFileDevice::WriteOwner);
    std::optional<QString> given;
    ObsPasswordKeeper(*defaults, std::make_unique<SecretFile>(filePath)).fetch([&](const QString& fetched) {
        given = fetched;
    });
    EXPECT_EQ(given, password) << "the next start reads it back";
    keeping.forget();
    EXPECT_FALSE(QFile::exists(filePath));
}

TEST_F(ObsPasswordKeeperTest, WithoutAStoreGivenThePasswordGoesToThePrivateFileBesideTheSettings)
{
    defaults = std::make_unique<UserDefaults>(settingsPath);
    ObsPasswordKeeper keeping(*defaults, nullptr);
    keeping.keep(password);
    const QString filePath = SecretFile::besideSettings(settingsPath);
    ASSERT_TRUE(QFile::exists(filePath));
    EXPECT_EQ(keeping.store().description(), SecretFile(filePath).description());
    EXPECT_FALSE(settingsText().contains(password.toUtf8()));
    keeping.forget();
    EXPECT_FALSE(QFile::exists(filePath));
}
