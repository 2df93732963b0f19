// The Source menu: following Mixdesk, OBS Studio or an ATEM, chosen in the window and
// remembered for the next start.

#include "dialogs/AtemSourceDialog.h"
#include "dialogs/ObsSourceDialog.h"
#include "widgets/mainwindow/MainWindowFixture.h"

#include <QDialogButtonBox>
#include <QFileInfo>
#include <QLineEdit>
#include <QPushButton>
#include <QSpinBox>

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

TEST_F(SourceMenuTest, ChoosingOBSStudioFollowsItAndRemembersTheChoiceInAFileOnlyTheUserCanRead)
{
    makeWindow();
    QString problem;
    ASSERT_TRUE(main.menu->chooseObsSource(QStringLiteral("obs://127.0.0.1:1"), QStringLiteral("pw"), &problem))
        << problem.toStdString();
    EXPECT_EQ(controller->shotSource().displayName(), QStringLiteral("OBS Studio"));
    EXPECT_EQ(controller->mixdeskWarning()->text(), QStringLiteral("OBS Studio is not connected"));
    EXPECT_TRUE(main.menu->obsSourceAction()->isChecked());
    UserDefaults& defaults = UserDefaults::standardUserDefaults();
    EXPECT_EQ(defaults.objectForKey(Preferences::shotSource).toString(), QStringLiteral("obs://127.0.0.1:1"));
    EXPECT_EQ(defaults.objectForKey(Preferences::obsPassword).toString(), QStringLiteral("pw"));
    const QFileDevice::Permissions permissions = QFileInfo(defaults.settingsFilePath()).permissions();
    EXPECT_TRUE(permissions.testFlag(QFileDevice::ReadOwner));
    const QFileDevice::Permissions others = QFileDevice::ReadGroup | QFileDevice::WriteGroup | QFileDevice::ExeGroup
        | QFileDevice::ReadOther | QFileDevice::WriteOther | QFileDevice::ExeOther;
    EXPECT_EQ(permissions & others, QFileDevice::Permissions());
}

TEST_F(SourceMenuTest, ChoosingMixdeskAgainGoesBackToItsQuery)
{
    makeWindow();
    ASSERT_TRUE(main.menu->chooseObsSource(QStringLiteral("obs://127.0.0.1:1"), QString()));
    main.menu->chooseMixdeskSource();
    EXPECT_EQ(controller->shotSource().displayName(), QStringLiteral("Mixdesk"));
    EXPECT_TRUE(main.menu->mixdeskSourceAction()->isChecked());
    EXPECT_EQ(UserDefaults::standardUserDefaults().objectForKey(Preferences::shotSource).toString(),
        QStringLiteral("mixdesk"));
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

TEST_F(SourceMenuTest, AnAtemSourceIsRecognisedByItsKind)
{
    auto source = std::make_unique<FakeShotSource>();
    source->sourceKind = ShotSource::Kind::atem;
    makeWindow(std::move(source));
    EXPECT_TRUE(main.menu->atemSourceAction()->isChecked());
    EXPECT_FALSE(main.menu->obsSourceAction()->isChecked());
    EXPECT_FALSE(main.menu->mixdeskSourceAction()->isChecked());
    EXPECT_EQ(main.menu->atemSourceAction()->text(), QStringLiteral("Blackmagic ATEM…"));
}

TEST_F(SourceMenuTest, ChoosingAnAtemFollowsItAndRemembersTheChoice)
{
    makeWindow();
    QString problem;
    ASSERT_TRUE(main.menu->chooseAtemSource(QStringLiteral("atem://127.0.0.1:1"), &problem)) << problem.toStdString();
    EXPECT_EQ(controller->shotSource().kind(), ShotSource::Kind::atem);
    EXPECT_EQ(controller->mixdeskWarning()->text(), QStringLiteral("ATEM switcher is not connected"));
    EXPECT_TRUE(main.menu->atemSourceAction()->isChecked());
    EXPECT_FALSE(main.menu->mixdeskSourceAction()->isChecked());
    EXPECT_EQ(UserDefaults::standardUserDefaults().objectForKey(Preferences::shotSource).toString(),
        QStringLiteral("atem://127.0.0.1:1"));
    EXPECT_FALSE(main.menu->chooseAtemSource(QStringLiteral("atem://"), &problem));
    EXPECT_TRUE(problem.contains(QStringLiteral("no host"))) << problem.toStdString();
    EXPECT_TRUE(main.menu->atemSourceAction()->isChecked()) << "an unusable address changes nothing";
}

TEST(AtemSourceDialogTest, StartsFromThePreviousAddressAndGivesTheEnteredOne)
{
    AtemSourceDialog dialog(QStringLiteral("atem://10.0.0.9:9911"));
    EXPECT_EQ(dialog.hostField->text(), QStringLiteral("10.0.0.9"));
    EXPECT_EQ(dialog.portField->value(), 9911);
    dialog.hostField->setText(QStringLiteral(" studio-atem.local "));
    dialog.portField->setValue(9910);
    EXPECT_EQ(dialog.address(), QStringLiteral("atem://studio-atem.local:9910"));
}

TEST(AtemSourceDialogTest, WithoutAPreviousAddressItOffersPort9910AndWaitsForAHost)
{
    AtemSourceDialog dialog(QStringLiteral("obs://127.0.0.1:4455"));
    EXPECT_TRUE(dialog.hostField->text().isEmpty());
    EXPECT_EQ(dialog.portField->value(), 9910);
    const QDialogButtonBox* buttons = dialog.findChild<QDialogButtonBox*>();
    ASSERT_NE(buttons, nullptr);
    EXPECT_FALSE(buttons->button(QDialogButtonBox::Ok)->isEnabled());
    dialog.hostField->setText(QStringLiteral("10.0.0.9"));
    EXPECT_TRUE(buttons->button(QDialogButtonBox::Ok)->isEnabled());
}
