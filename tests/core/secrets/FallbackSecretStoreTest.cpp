// The desktop's store first, the private file only while no store answers.

#include "secrets/FallbackSecretStore.h"

#include "secrets/SecretFile.h"
#include "support/FakeSecretStore.h"

#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace {

using Outcome = SecretStore::Outcome;

class FallbackSecretStoreTest : public testing::Test {
protected:
    FallbackSecretStoreTest()
    {
        auto preferred = std::make_unique<FakeSecretStore>();
        desktop = preferred.get();
        filePath = directory.filePath(QStringLiteral("secrets.json"));
        store = std::make_unique<FallbackSecretStore>(std::move(preferred), std::make_unique<SecretFile>(filePath));
    }

    SecretStore::Answer read()
    {
        SecretStore::Answer answer;
        store->read(QStringLiteral("ObsPassword"), [&](const SecretStore::Answer& given) { answer = given; });
        return answer;
    }
    Outcome write(const QString& secret)
    {
        Outcome outcome = Outcome::failed;
        store->write(
            QStringLiteral("ObsPassword"), secret, [&](const SecretStore::Answer& given) { outcome = given.outcome; });
        return outcome;
    }
    Outcome remove()
    {
        Outcome outcome = Outcome::failed;
        store->remove(
            QStringLiteral("ObsPassword"), [&](const SecretStore::Answer& given) { outcome = given.outcome; });
        return outcome;
    }

    QTemporaryDir directory;
    QString filePath;
    FakeSecretStore* desktop = nullptr;
    std::unique_ptr<FallbackSecretStore> store;
};

} // namespace

TEST_F(FallbackSecretStoreTest, WhileTheDesktopStoreAnswersNoFileIsWritten)
{
    EXPECT_EQ(write(QStringLiteral("stage door")), Outcome::done);
    EXPECT_EQ(desktop->secrets.value(QStringLiteral("ObsPassword")), QStringLiteral("stage door"));
    EXPECT_FALSE(QFile::exists(filePath));
    EXPECT_EQ(read().secret, QStringLiteral("stage door"));
}

TEST_F(FallbackSecretStoreTest, WithNoDesktopStoreTheSecretGoesToThePrivateFile)
{
    desktop->behaviour = Outcome::unavailable;
    EXPECT_EQ(write(QStringLiteral("stage door")), Outcome::done);
    ASSERT_TRUE(QFile::exists(filePath));
    EXPECT_EQ(QFile::permissions(filePath),
        QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ReadUser | QFileDevice::WriteUser);
    const SecretStore::Answer answer = read();
    EXPECT_EQ(answer.outcome, Outcome::done);
    EXPECT_EQ(answer.secret, QStringLiteral("stage door"));
}

TEST_F(FallbackSecretStoreTest, AStoreThatRefusesIsNotWorkedAroundWithTheFile)
{
    desktop->behaviour = Outcome::failed;
    EXPECT_EQ(write(QStringLiteral("stage door")), Outcome::failed);
    EXPECT_FALSE(QFile::exists(filePath));
}

TEST_F(FallbackSecretStoreTest, WhenTheDesktopStoreIsBackTheFileGoes)
{
    desktop->behaviour = Outcome::unavailable;
    write(QStringLiteral("old"));
    ASSERT_TRUE(QFile::exists(filePath));
    desktop->behaviour = Outcome::done;
    EXPECT_EQ(read().secret, QStringLiteral("old")) << "the store has nothing yet: the file answers";
    EXPECT_EQ(write(QStringLiteral("new")), Outcome::done);
    EXPECT_FALSE(QFile::exists(filePath));
    EXPECT_EQ(read().secret, QStringLiteral("new"));
}

TEST_F(FallbackSecretStoreTest, RemovingClearsTheStoreAndTheFile)
{
    desktop->behaviour = Outcome::unavailable;
    write(QStringLiteral("in the file"));
    desktop->behaviour = Outcome::done;
    desktop->secrets.insert(QStringLiteral("ObsPassword"), QStringLiteral("in the store"));
    EXPECT_EQ(remove(), Outcome::done);
    EXPECT_TRUE(desktop->secrets.isEmpty());
    EXPECT_FALSE(QFile::exists(filePath));
    EXPECT_EQ(read().outcome, Outcome::notFound);
    EXPECT_EQ(remove(), Outcome::notFound);
}

TEST_F(FallbackSecretStoreTest, AnAnswerThatComesLaterIsWaitedFor)
{
    desktop->holdAnswers = true;
    desktop->behaviour = Outcome::unavailable;
    std::optional<Outcome> outcome;
    store->write(QStringLiteral("ObsPassword"), QStringLiteral("x"),
        [&](const SecretStore::Answer& given) { outcome = given.outcome; });
    EXPECT_FALSE(outcome);
    EXPECT_FALSE(QFile::exists(filePath)) << "the file is written only once the store is known to be missing";
    desktop->answerAll();
    EXPECT_EQ(outcome, Outcome::done);
    EXPECT_TRUE(QFile::exists(filePath));
}
