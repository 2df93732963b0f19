// Where no Secret Service answers (no session bus at all), the store says
// so, and the password goes to the private file instead.

#include "keychain/KeychainSecretStore.h"
#include "secrets/FallbackSecretStore.h"
#include "secrets/SecretFile.h"
#include "support/Eventually.h"

#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace {

class NoSecretServiceTest : public testing::Test {
protected:
    void SetUp() override
    {
        // A bus address where nothing listens, set before anything in this
        // process has talked to D-Bus.
        qputenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=" + QFile::encodeName(directory.filePath("no-bus")));
        qunsetenv("DISPLAY");
    }

    QTemporaryDir directory;
};

} // namespace

TEST_F(NoSecretServiceTest, TheStoreSaysItIsUnavailableAndThePasswordGoesToThePrivateFile)
{
    KeychainSecretStore store(QStringLiteral("Mixdesk Tally Test"));
    std::optional<SecretStore::Answer> read;
    store.read(QStringLiteral("ObsPassword"), [&](const SecretStore::Answer& answer) { read = answer; });
    ASSERT_TRUE(eventually([&] { return read.has_value(); }, 10000));
    EXPECT_EQ(read->outcome, SecretStore::Outcome::unavailable) << read->error.toStdString();

    const QString filePath = directory.filePath(QStringLiteral("secrets.json"));
    FallbackSecretStore both(std::make_unique<KeychainSecretStore>(QStringLiteral("Mixdesk Tally Test")),
        std::make_unique<SecretFile>(filePath));
    std::optional<SecretStore::Answer> written;
    both.write(QStringLiteral("ObsPassword"), QStringLiteral("stage door"),
        [&](const SecretStore::Answer& answer) { written = answer; });
    ASSERT_TRUE(eventually([&] { return written.has_value(); }, 10000));
    EXPECT_EQ(written->outcome, SecretStore::Outcome::done) << written->error.toStdString();
    ASSERT_TRUE(QFile::exists(filePath));
    EXPECT_EQ(QFile::permissions(filePath) & ~(QFileDevice::ReadUser | QFileDevice::WriteUser),
        QFileDevice::ReadOwner | QFileDevice::WriteOwner);
}
