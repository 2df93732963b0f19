// Nothing the program opens besides the panels that must hold the tick back
// (password dialog, test panel, file panels) stops the lights: while each
// box or dialog is up, a cut at the switcher still reaches the lamp and the
// tally box.

#include "base/ModalSession.h"
#include "dialogs/NetworkOutputsDialog.h"
#include "dialogs/ObsSourceDialog.h"
#include "dialogs/PhoneLinksDialog.h"
#include "support/QtPrinters.h"
#include "widgets/mainwindow/MainWindowFixture.h"

#include <QApplication>
#include <QDialog>
#include <QDialogButtonBox>
#include <QLineEdit>
#include <QMessageBox>
#include <QTest>

namespace {

// What was seen while a dialog was up.
struct WhileUp {
    bool ran = false;
    QString dialogClass;
    Qt::WindowModality modality = Qt::NonModal;
    bool tickHeldBack = true;
    bool lampWentOff = false;
    QList<quint8> lightOneBytes;
};

class LightsGoOnTest : public MainWindowFixture {
protected:
    void SetUp() override
    {
        MainWindowFixture::SetUp();
        source = makeWindowFollowingAFakeSwitcher();
        tick();
        ASSERT_EQ(lamp()->mode, TallyMode::live);
        // The window's own timer drives the ticks, as when the program runs.
        controller->timer()->start();
    }

    TallyState* lamp() const { return controller->tallyStateDisplays().at(0); }

    // Runs open, which may wait in the dialog's own event loop or return at
    // once. As soon as the dialog is up, Cam 1 leaves program at the
    // switcher; what the lamp and the box do before the dialog is closed
    // again is what comes back.
    WhileUp cutWhileUp(const std::function<void()>& open)
    {
        WhileUp seen;
        bool done = false;
        QTimer::singleShot(0, [&] {
            QWidget* dialog = QApplication::activeModalWidget();
            if (dialog == nullptr) {
                done = true;
                return;
            }
            seen.ran = true;
            seen.dialogClass = QString::fromLatin1(dialog->metaObject()->className());
            seen.modality = dialog->windowModality();
            seen.tickHeldBack = ModalSession::isActive();
            device->reports.clear();
            source->shots[0]->isLive = false;
            seen.lampWentOff = QTest::qWaitFor([this] { return lamp()->mode == TallyMode::off; }, 3000);
            const QList<quint8> bytes = device->commandBytes();
            seen.lightOneBytes = bytes.mid(0, 2);
            // Escape, as the operator would: every one of them closes on it.
            if (auto* asDialog = qobject_cast<QDialog*>(dialog)) {
                asDialog->reject();
            } else {
                dialog->close();
            }
            done = true;
        });
        open();
        EXPECT_TRUE(QTest::qWaitFor([&done] { return done; }, 5000));
        return seen;
    }

    static void expectTheLightFollowed(const WhileUp& seen, const char* dialogClass)
    {
        ASSERT_TRUE(seen.ran) << "no dialog came up";
        EXPECT_EQ(seen.dialogClass, QString::fromLatin1(dialogClass));
        EXPECT_EQ(seen.modality, Qt::WindowModal);
        EXPECT_FALSE(seen.tickHeldBack);
        EXPECT_TRUE(seen.lampWentOff);
        // Light 1 off: program off, then preview off.
        EXPECT_EQ(seen.lightOneBytes, (QList<quint8> { 0x01, 0x21 }));
    }

    FakeShotSource* source = nullptr;
};

} // namespace

TEST_F(LightsGoOnTest, WhileTheAboutBoxIsUp)
{
    const WhileUp seen = cutWhileUp([this] { main.menu->aboutAction()->trigger(); });
    expectTheLightFollowed(seen, "QMessageBox");
}

TEST_F(LightsGoOnTest, WhileTheSaveChangesPromptAsksBeforeOpen)
{
    UserDefaults::standardUserDefaults().setBool(Preferences::askBeforeDiscardingChanges, true);
    controller->applyAskBeforeDiscardingChanges();
    controller->document().assign(1, { record(QStringLiteral("Cam 2")) });
    ASSERT_TRUE(controller->document().isEdited());
    // The window's own prompt, a message box; Escape is its Cancel.
    const WhileUp seen = cutWhileUp([this] { controller->openDocument(nullptr); });
    expectTheLightFollowed(seen, "QMessageBox");
    EXPECT_EQ(panels->openRuns, 0);
    EXPECT_TRUE(controller->document().isEdited());
}

TEST_F(LightsGoOnTest, WhileTheSaveChangesPromptAsksBeforeQuit)
{
    UserDefaults::standardUserDefaults().setBool(Preferences::askBeforeDiscardingChanges, true);
    controller->applyAskBeforeDiscardingChanges();
    controller->document().assign(1, { record(QStringLiteral("Cam 2")) });
    bool closed = true;
    const WhileUp seen = cutWhileUp([this, &closed] { closed = main.window->close(); });
    expectTheLightFollowed(seen, "QMessageBox");
    EXPECT_FALSE(closed);
}

TEST_F(LightsGoOnTest, WhileTheObsStudioDialogIsUp)
{
    const WhileUp seen = cutWhileUp([this] { main.menu->obsSourceAction()->trigger(); });
    expectTheLightFollowed(seen, "ObsSourceDialog");
    EXPECT_EQ(controller->shotSource().kind(), ShotSource::Kind::tslUmd);
}

TEST_F(LightsGoOnTest, WhileTheObsStudioErrorBoxIsUp)
{
    // An address the dialog takes but the source cannot use brings up the
    // error box once the dialog has closed.
    QTimer::singleShot(0, [] {
        auto* dialog = qobject_cast<ObsSourceDialog*>(QApplication::activeModalWidget());
        ASSERT_NE(dialog, nullptr);
        dialog->hostField->setText(QStringLiteral("studio/a")); // a path is no host
        dialog->accept();
    });
    main.menu->obsSourceAction()->trigger();
    const WhileUp seen = cutWhileUp([] {});
    expectTheLightFollowed(seen, "QMessageBox");
}

TEST_F(LightsGoOnTest, WhileTheNetworkOutputsDialogIsUp)
{
    const WhileUp seen = cutWhileUp([this] { main.menu->networkOutputsAction()->trigger(); });
    expectTheLightFollowed(seen, "NetworkOutputsDialog");
}

TEST_F(LightsGoOnTest, TheTestPanelStillHoldsTheTickBack)
{
    // The test panel, for contrast: while it is up, the cut waits.
    main.menu->testLightsAction()->trigger();
    ASSERT_TRUE(ModalSession::isActive());
    source->shots[0]->isLive = false;
    QTest::qWait(600);
    EXPECT_EQ(lamp()->mode, TallyMode::live);
    QApplication::activeModalWidget()->close();
    EXPECT_TRUE(QTest::qWaitFor([this] { return lamp()->mode == TallyMode::off; }, 3000));
}

TEST_F(LightsGoOnTest, WhileThePhoneLinksAreUp)
{
    main.menu->phoneLinksAction()->trigger();
    ASSERT_NE(main.menu->phoneLinksDialog(), nullptr);
    ASSERT_TRUE(main.menu->phoneLinksDialog()->isVisible());
    EXPECT_EQ(main.menu->phoneLinksDialog()->windowModality(), Qt::NonModal);
    EXPECT_FALSE(ModalSession::isActive());
    device->reports.clear();
    source->shots[0]->isLive = false;
    EXPECT_TRUE(QTest::qWaitFor([this] { return lamp()->mode == TallyMode::off; }, 3000));
    EXPECT_EQ(device->commandBytes().mid(0, 2), (QList<quint8> { 0x01, 0x21 }));
    main.menu->phoneLinksDialog()->close();
}
