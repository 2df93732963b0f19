// The Source menu: following Mixdesk or OBS Studio, chosen in the window and
// remembered for the next start.

#include "base/FallbackSecretStore.h"
#include "base/SecretFile.h"
#include "dialogs/ObsSourceDialog.h"
#include "widgets/mainwindow/MainWindowFixture.h"

#include <QApplication>
#include <QFileInfo>
#include <QLineEdit>
#include <QSpinBox>
#include <QTimer>

namespace {

class SourceMenuTest : public MainWindowFixture { };

} // namespace

TEST_F(SourceMenuTest, WithNoChoiceMadeMixdeskIsChecked)
{
    makeWindow();
    ASSERT_NE(main.menu->sourceMenu(), nullptr);
    EXPECT_TRUE(main.menu->mixdeskSourceAction()->isChecked());
    EXPECT_FALSE(main.menu->obsSourceAction()->isChecked());
    EXPECT_EQ(main.menu->obsSourceAction()->text(), QStringLiteral("OBS Studio…"));
}

TEST_F(SourceMenuTest, FollowingASwitcherTheMenuHasNoItemForTicksNeitherItem)
{
    auto source = std::make_unique<FakeShotSource>();
    source->sourceKind = ShotSource::Kind::tslUmd;
    makeWindow(std::move(source));
    EXPECT_FALSE(main.menu->mixdeskSourceAction()->isChecked());
    EXPECT_FALSE(main.menu->obsSourceAction()->isChecked());
}

TEST_F(SourceMenuTest, AnOBSSourceIsRecognisedByItsKindWhateverItsName)
{
    auto source = std::make_unique<FakeShotSource>();
    source->sourceKind = ShotSource::Kind::obsStudio;
    makeWindow(std::move(source));
    EXPECT_TRUE(main.menu->obsSourceAction()->isChecked());
    EXPECT_FALSE(main.menu->mixdeskSourceAction()->isChecked());
}

TEST_F(SourceMenuTest, ChoosingOBSStudioFollowsItAndKeepsThePasswordInTheSecretStoreNeverInTheSettings)
{
    makeWindow();
    QString problem;
    ASSERT_TRUE(main.menu->chooseObsSource(QStringLiteral("obs://127.0.0.1:1"), QStringLiteral("pw 42"), &problem))
        << problem.toStdString();
    EXPECT_EQ(controller->shotSource().displayName(), QStringLiteral("OBS Studio"));
    EXPECT_EQ(controller->mixdeskWarning()->text(), QStringLiteral("OBS Studio is not connected"));
    EXPECT_TRUE(main.menu->obsSourceAction()->isChecked());
    UserDefaults& defaults = UserDefaults::standardUserDefaults();
    EXPECT_EQ(defaults.objectForKey(Preferences::shotSource).toString(), QStringLiteral("obs://127.0.0.1:1"));
    EXPECT_EQ(secretStore->secrets.value(ObsPasswordKeeper::secretKey), QStringLiteral("pw 42"));
    const QByteArray settings = readFile(defaults.settingsFilePath());
    EXPECT_TRUE(settings.contains("obs://127.0.0.1:1")) << settings.toStdString();
    EXPECT_FALSE(settings.contains("pw 42")) << settings.toStdString();
    EXPECT_FALSE(defaults.objectForKey(Preferences::obsPassword).isValid());
}

TEST_F(SourceMenuTest, ChoosingMixdeskAgainGoesBackToItsQueryAndForgetsThePassword)
{
    makeWindow();
    ASSERT_TRUE(main.menu->chooseObsSource(QStringLiteral("obs://127.0.0.1:1"), QStringLiteral("pw 42")));
    ASSERT_FALSE(secretStore->secrets.isEmpty());
    main.menu->chooseMixdeskSource();
    EXPECT_EQ(controller->shotSource().displayName(), QStringLiteral("Mixdesk"));
    EXPECT_TRUE(main.menu->mixdeskSourceAction()->isChecked());
    EXPECT_EQ(UserDefaults::standardUserDefaults().objectForKey(Preferences::shotSource).toString(),
        QStringLiteral("mixdesk"));
    EXPECT_TRUE(secretStore->secrets.isEmpty());
    EXPECT_EQ(controller->obsPassword().known(), QString());
}

TEST_F(SourceMenuTest, WithoutADesktopStoreThePasswordGoesToAPrivateFileThatGoesWithTheSource)
{
    // The stores as the program puts them together, with no desktop store.
    auto missing = std::make_unique<FakeSecretStore>();
    missing->behaviour = SecretStore::Outcome::unavailable;
    const QString filePath = directory.filePath(QStringLiteral("secrets.json"));
    secretStoreForNextWindow
        = std::make_unique<FallbackSecretStore>(std::move(missing), std::make_unique<SecretFile>(filePath));
    makeWindow();
    ASSERT_TRUE(main.menu->chooseObsSource(QStringLiteral("obs://127.0.0.1:1"), QStringLiteral("pw 42")));
    ASSERT_TRUE(QFile::exists(filePath));
    EXPECT_EQ(QFile::permissions(filePath) & ~(QFileDevice::ReadUser | QFileDevice::WriteUser),
        QFileDevice::ReadOwner | QFileDevice::WriteOwner);
    EXPECT_TRUE(readFile(filePath).contains("pw 42"));
    EXPECT_FALSE(readFile(UserDefaults::standardUserDefaults().settingsFilePath()).contains("pw 42"));
    main.menu->chooseMixdeskSource();
    EXPECT_FALSE(QFile::exists(filePath));
}

TEST_F(SourceMenuTest, TheOBSDialogOpensWithThePasswordTheStoreKeepsOnceTheStoreHasAnswered)
{
    makeWindow();
    main.window->show();
    secretStore->secrets.insert(ObsPasswordKeeper::secretKey, QStringLiteral("kept 7"));
    secretStore->holdAnswers = true;
    main.menu->obsSourceAction()->trigger();
    EXPECT_EQ(QApplication::activeModalWidget(), nullptr) << "no dialog before the store answers";
    QString shown;
    QTimer::singleShot(0, [&shown] {
        auto* dialog = qobject_cast<ObsSourceDialog*>(QApplication::activeModalWidget());
        if (dialog) {
            shown = dialog->passwordField->text();
            dialog->reject();
        }
    });
    secretStore->answerAll();
    EXPECT_EQ(shown, QStringLiteral("kept 7"));
    EXPECT_TRUE(main.menu->mixdeskSourceAction()->isChecked()) << "cancelled: nothing changed";
}

TEST_F(SourceMenuTest, AnUnusableAddressChangesNothingAndSaysWhy)
{
    makeWindow();
    QString problem;
    EXPECT_FALSE(main.menu->chooseObsSource(QStringLiteral("obs://"), QString(), &problem));
    EXPECT_TRUE(problem.contains(QStringLiteral("no host"))) << problem.toStdString();
    EXPECT_EQ(controller->shotSource().displayName(), QStringLiteral("Mixdesk"));
    EXPECT_TRUE(main.menu->mixdeskSourceAction()->isChecked());
}

TEST(ObsSourceDialogTest, StartsFromThePreviousAddressAndGivesTheEnteredOne)
{
    ObsSourceDialog dialog(QStringLiteral("obs://studio.local:4460"), QStringLiteral("pw"));
    EXPECT_EQ(dialog.hostField->text(), QStringLiteral("studio.local"));
    EXPECT_EQ(dialog.portField->value(), 4460);
    EXPECT_EQ(dialog.passwordField->echoMode(), QLineEdit::Password);
    dialog.hostField->setText(QStringLiteral(" 10.0.0.5 "));
    dialog.portField->setValue(4455);
    EXPECT_EQ(dialog.address(), QStringLiteral("obs://10.0.0.5:4455"));
    EXPECT_EQ(dialog.password(), QStringLiteral("pw"));
}

TEST(ObsSourceDialogTest, WithoutAPreviousAddressItOffersThisComputerOnPort4455)
{
    ObsSourceDialog dialog(QStringLiteral("mixdesk"), QString());
    EXPECT_EQ(dialog.address(), QStringLiteral("obs://127.0.0.1:4455"));
}
