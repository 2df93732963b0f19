// The desktop's secret store through QtKeychain, against a real Secret
// Service (GNOME Keyring on a private session bus), and what happens where
// none answers.

#include "keychain/KeychainSecretStore.h"

#include "net/keychain/PrivateSecretService.h"
#include "secrets/FallbackSecretStore.h"
#include "secrets/SecretFile.h"
#include "support/Eventually.h"

#include <QFile>

#include <gtest/gtest.h>

namespace {

using Outcome = SecretStore::Outcome;

// Runs one call and waits for its answer on the event loop.
template<typename Call> std::optional<SecretStore::Answer> answerOf(Call call)
{
    std::optional<SecretStore::Answer> answer;
    call([&answer](const SecretStore::Answer& given) { answer = given; });
    eventually([&] { return answer.has_value(); }, 10000);
    return answer;
}

class KeychainSecretStoreTest : public testing::Test {
protected:
    void SetUp() override
    {
        if (!service.problem().isEmpty()) {
            GTEST_SKIP() << "no Secret Service can run here: " << service.problem().toStdString();
        }
    }

    // What the keyring holds for the key, asked with libsecret's own tool
    // rather than through the code under test.
    QString lookedUp(const QString& key) const
    {
        QProcess lookup;
        lookup.setProcessEnvironment(service.environment());
        lookup.start(QStringLiteral("secret-tool"),
            { QStringLiteral("lookup"), QStringLiteral("server"), QStringLiteral("Mixdesk Tally Test"),
                QStringLiteral("user"), key });
        lookup.waitForFinished(5000);
        return QString::fromUtf8(lookup.readAllStandardOutput());
    }

    PrivateSecretService service;
    QTemporaryDir directory;
    KeychainSecretStore store { QStringLiteral("Mixdesk Tally Test") };
};

} // namespace

TEST_F(KeychainSecretStoreTest, APasswordWrittenIsKeptByTheSecretServiceAndReadsBack)
{
    const auto written = answerOf([&](auto done) { store.write(QStringLiteral("ObsPassword"), "stage door", done); });
    ASSERT_TRUE(written);
    ASSERT_EQ(written->outcome, Outcome::done) << written->error.toStdString();
    if (QStandardPaths::findExecutable(QStringLiteral("secret-tool")).isEmpty()) {
        ADD_FAILURE() << "secret-tool (Debian package libsecret-tools) is needed to look into the keyring";
    } else {
        EXPECT_EQ(lookedUp(QStringLiteral("ObsPassword")), QStringLiteral("stage door"));
    }
    KeychainSecretStore another(QStringLiteral("Mixdesk Tally Test"));
    const auto read = answerOf([&](auto done) { another.read(QStringLiteral("ObsPassword"), done); });
    ASSERT_TRUE(read);
    EXPECT_EQ(read->outcome, Outcome::done) << read->error.toStdString();
    EXPECT_EQ(read->secret, QStringLiteral("stage door"));
}

TEST_F(KeychainSecretStoreTest, NothingKeptIsNotFoundAndRemovingTakesThePasswordOut)
{
    const auto missing = answerOf([&](auto done) { store.read(QStringLiteral("Nothing"), done); });
    ASSERT_TRUE(missing);
    EXPECT_EQ(missing->outcome, Outcome::notFound) << missing->error.toStdString();
    answerOf([&](auto done) { store.write(QStringLiteral("ObsPassword"), "stage door", done); });
    const auto removed = answerOf([&](auto done) { store.remove(QStringLiteral("ObsPassword"), done); });
    ASSERT_TRUE(removed);
    EXPECT_EQ(removed->outcome, Outcome::done) << removed->error.toStdString();
    const auto after = answerOf([&](auto done) { store.read(QStringLiteral("ObsPassword"), done); });
    ASSERT_TRUE(after);
    EXPECT_EQ(after->outcome, Outcome::notFound);
}

TEST_F(KeychainSecretStoreTest, WithTheSecretServiceAnsweringNoFallbackFileIsMade)
{
    const QString filePath = directory.filePath(QStringLiteral("secrets.json"));
    FallbackSecretStore both(std::make_unique<KeychainSecretStore>(QStringLiteral("Mixdesk Tally Test")),
        std::make_unique<SecretFile>(filePath));
    const auto written = answerOf([&](auto done) { both.write(QStringLiteral("ObsPassword"), "stage door", done); });
    ASSERT_TRUE(written);
    EXPECT_EQ(written->outcome, Outcome::done) << written->error.toStdString();
    EXPECT_FALSE(QFile::exists(filePath));
}
