#include "dialogs/TestViewController.h"

#include "base/ModalSession.h"
#include "core/hardware/HardwareFakes.h"
#include "hardware/LightCommand.h"
#include "hardware/TestSequenceRunner.h"
#include "hardware/USBHIDAppDelegate.h"
#include "lamps/TallyState.h"
#include "mainwindow/ModalPanelProbe.h"
#include "support/QtPrinters.h"

#include <QApplication>
#include <QCheckBox>
#include <QDialog>
#include <QEventLoop>
#include <QImage>
#include <QLabel>
#include <QLayout>
#include <QProgressBar>
#include <QPushButton>
#include <QTimer>

#include <gtest/gtest.h>

namespace {

// The shared device sits on a fake back end with one device plugged in, so
// every byte the panel sends is recorded in order. The modal probe is the
// program's own: a panel counts as up while QApplication has it as its
// active application-modal widget.
class TestViewControllerTest : public testing::Test {
protected:
    TestViewControllerTest()
    {
        auto backend = std::make_unique<FakeBackend>();
        FakeBackend* fake = backend.get();
        USBHIDAppDelegate::setSharedBackendForTesting(std::move(backend));
        fake->plug(device);
        installModalPanelProbe();
    }

    ~TestViewControllerTest() override
    {
        // A panel that went away mid-chase leaves its chase with the
        // application; it must not step into the next test.
        for (TestSequenceRunner* left : qApp->findChildren<TestSequenceRunner*>(Qt::FindDirectChildrenOnly)) {
            delete left;
        }
        ModalSession::setProbe({});
        USBHIDAppDelegate::setSharedBackendForTesting(std::make_unique<FakeBackend>());
    }

    QList<quint8> takeSent()
    {
        const QList<quint8> bytes = device->commandBytes();
        device->reports.clear();
        return bytes;
    }

    static QList<QCheckBox*> boxesOf(QWidget* row)
    {
        QList<QCheckBox*> boxes;
        for (int index = 0; index < row->layout()->count(); ++index) {
            boxes.append(qobject_cast<QCheckBox*>(row->layout()->itemAt(index)->widget()));
        }
        return boxes;
    }

    static QCheckBox* box(QWidget* row, int lightNumber) { return boxesOf(row).at(lightNumber - 1); }

    // A tick of a chase timer as the event loop would deliver it.
    static void tick(QTimer* timer) { QMetaObject::invokeMethod(timer, "timeout"); }

    static void showModal(QWidget& panel)
    {
        panel.show();
        QApplication::processEvents();
    }

    static const QList<quint8>& step(qsizetype index) { return LightCommand::testSequence().at(index); }

    std::shared_ptr<FakeDevice> device = std::make_shared<FakeDevice>();
};

} // namespace

TEST_F(TestViewControllerTest, EachRowHoldsEightCheckBoxesTitledOneToEight)
{
    TestViewController panel { sendToSharedBox };
    for (QWidget* row : { panel.programStackView.data(), panel.previewStackView.data() }) {
        ASSERT_NE(row, nullptr);
        const QList<QCheckBox*> boxes = boxesOf(row);
        ASSERT_EQ(boxes.size(), 8);
        for (int index = 0; index < 8; ++index) {
            ASSERT_NE(boxes.at(index), nullptr);
            EXPECT_EQ(boxes.at(index)->text(), QString::number(index + 1));
            EXPECT_FALSE(boxes.at(index)->isChecked());
        }
    }
}

TEST_F(TestViewControllerTest, RowsAreLabelledProgramAndPreview)
{
    TestViewController panel { sendToSharedBox };
    QStringList labels;
    for (const QLabel* label : panel.findChildren<QLabel*>()) {
        labels.append(label->text());
    }
    EXPECT_TRUE(labels.contains(QStringLiteral("Program"))) << labels.join(QLatin1Char('|')).toStdString();
    EXPECT_TRUE(labels.contains(QStringLiteral("Preview"))) << labels.join(QLatin1Char('|')).toStdString();
    EXPECT_EQ(panel.allOffButton->text(), QStringLiteral("All Off"));
    EXPECT_EQ(panel.testButton->text(), QStringLiteral("Test"));
    EXPECT_EQ(panel.closeButton->text(), QStringLiteral("Close"));
}

TEST_F(TestViewControllerTest, StartsIdleWithATimerThatNeverRuns)
{
    TestViewController panel { sendToSharedBox };
    EXPECT_EQ(panel.runner()->testStep(), 0);
    ASSERT_NE(panel.runner()->timer(), nullptr);
    EXPECT_FALSE(panel.runner()->timer()->isActive());
    EXPECT_EQ(LightCommand::testSequence().size(), 21);
    EXPECT_EQ(&LightCommand::testSequence(), &LightCommand::testSequence());
    EXPECT_TRUE(takeSent().isEmpty());
}

TEST_F(TestViewControllerTest, ProgramBoxOfLightOneSendsB1WhenCheckedAnd01WhenUnchecked)
{
    TestViewController panel { sendToSharedBox };
    box(panel.programStackView, 1)->click();
    EXPECT_EQ(takeSent(), QList<quint8>({ 0xB1 }));
    box(panel.programStackView, 1)->click();
    EXPECT_EQ(takeSent(), QList<quint8>({ 0x01 }));
}

TEST_F(TestViewControllerTest, ProgramBoxOfLightEightSendsB8WhenCheckedAnd08WhenUnchecked)
{
    TestViewController panel { sendToSharedBox };
    box(panel.programStackView, 8)->click();
    EXPECT_EQ(takeSent(), QList<quint8>({ 0xB8 }));
    box(panel.programStackView, 8)->click();
    EXPECT_EQ(takeSent(), QList<quint8>({ 0x08 }));
}

TEST_F(TestViewControllerTest, PreviewBoxOfLightOneSendsD1WhenCheckedAnd21WhenUnchecked)
{
    TestViewController panel { sendToSharedBox };
    box(panel.previewStackView, 1)->click();
    EXPECT_EQ(takeSent(), QList<quint8>({ 0xD1 }));
    box(panel.previewStackView, 1)->click();
    EXPECT_EQ(takeSent(), QList<quint8>({ 0x21 }));
}

TEST_F(TestViewControllerTest, PreviewBoxOfLightEightSendsD8WhenCheckedAnd28WhenUnchecked)
{
    TestViewController panel { sendToSharedBox };
    box(panel.previewStackView, 8)->click();
    EXPECT_EQ(takeSent(), QList<quint8>({ 0xD8 }));
    box(panel.previewStackView, 8)->click();
    EXPECT_EQ(takeSent(), QList<quint8>({ 0x28 }));
}

TEST_F(TestViewControllerTest, ActionsReadTheStateTheSenderHasNow)
{
    TestViewController panel { sendToSharedBox };
    QCheckBox* third = box(panel.previewStackView, 3);
    third->setChecked(true);
    EXPECT_TRUE(takeSent().isEmpty());
    panel.previewOnSender(third);
    panel.programOnSender(third);
    EXPECT_EQ(takeSent(), QList<quint8>({ 0xD3, 0xB3 }));
}

TEST_F(TestViewControllerTest, BoxTitledZeroSwitchesAChannelOffOnAllLightsWhenCheckedAndSends00Or20WhenUnchecked)
{
    TestViewController panel { sendToSharedBox };
    QCheckBox* program = box(panel.programStackView, 1);
    QCheckBox* preview = box(panel.previewStackView, 1);
    program->setText(QStringLiteral("0"));
    preview->setText(QStringLiteral("0"));

    program->click();
    program->click();
    preview->click();
    preview->click();

    EXPECT_EQ(takeSent(), QList<quint8>({ 0xB0, 0x00, 0xD0, 0x20 }));
}

TEST_F(TestViewControllerTest, AllOffSendsExactlyB0ThenD0AndUnchecksEveryBoxInBothRows)
{
    TestViewController panel { sendToSharedBox };
    for (QWidget* row : { panel.programStackView.data(), panel.previewStackView.data() }) {
        for (QCheckBox* each : boxesOf(row)) {
            each->setChecked(true);
        }
    }
    box(panel.programStackView, 2)->click();
    box(panel.programStackView, 2)->click();
    takeSent();

    panel.allOffButton->click();

    EXPECT_EQ(takeSent(), QList<quint8>({ 0xB0, 0xD0 }));
    for (QWidget* row : { panel.programStackView.data(), panel.previewStackView.data() }) {
        for (const QCheckBox* each : boxesOf(row)) {
            EXPECT_FALSE(each->isChecked()) << each->text().toStdString();
        }
    }
}

TEST_F(TestViewControllerTest, TestButtonClearsTheBoxesSilentlyAndSendsTheFirstStepAtOnce)
{
    TestViewController panel { sendToSharedBox };
    box(panel.programStackView, 4)->setChecked(true);
    box(panel.previewStackView, 6)->setChecked(true);

    panel.testButton->click();

    EXPECT_EQ(takeSent(), QList<quint8>({ 0xB0, 0xD0, 0xB1, 0xB2, 0xB3, 0xB4, 0xB5, 0xB6, 0xB7, 0xB8 }));
    EXPECT_FALSE(box(panel.programStackView, 4)->isChecked());
    EXPECT_FALSE(box(panel.previewStackView, 6)->isChecked());
    EXPECT_EQ(panel.runner()->testStep(), 1);
}

TEST_F(TestViewControllerTest, ChaseRunsItsTwentyOneStepsEveryHalfSecondWhileThePanelIsUpThenItsTimerStops)
{
    TestViewController panel { sendToSharedBox };
    showModal(panel);
    ASSERT_EQ(QApplication::activeModalWidget(), &panel);

    panel.testAllWithSender(panel.testButton);
    QTimer* timer = panel.runner()->timer();
    EXPECT_TRUE(timer->isActive());
    EXPECT_FALSE(timer->isSingleShot());
    EXPECT_EQ(timer->interval(), 500);
    EXPECT_EQ(takeSent(), step(0));

    for (qsizetype index = 1; index < 21; ++index) {
        tick(timer);
        EXPECT_EQ(takeSent(), step(index)) << "step " << index + 1;
    }
    EXPECT_EQ(panel.runner()->testStep(), 21);
    EXPECT_TRUE(timer->isActive());

    tick(timer);
    EXPECT_TRUE(takeSent().isEmpty());
    EXPECT_FALSE(timer->isActive());
}

TEST_F(TestViewControllerTest, ChaseHasNotMovedTheBoxesWhenItEnds)
{
    TestViewController panel { sendToSharedBox };
    showModal(panel);
    panel.testButton->click();
    for (int ticks = 0; ticks < 21; ++ticks) {
        tick(panel.runner()->timer());
    }
    for (QWidget* row : { panel.programStackView.data(), panel.previewStackView.data() }) {
        for (const QCheckBox* each : boxesOf(row)) {
            EXPECT_FALSE(each->isChecked()) << each->text().toStdString();
        }
    }
}

TEST_F(TestViewControllerTest, ChaseStepsOnTheEventLoopsOwnTicks)
{
    TestViewController panel { sendToSharedBox };
    showModal(panel);
    panel.testButton->click();
    takeSent();

    // One real tick of the running timer: the second step arrives by itself.
    QEventLoop loop;
    QObject::connect(panel.runner(), &TestSequenceRunner::stepPerformed, &loop, &QEventLoop::quit);
    QTimer::singleShot(5000, &loop, &QEventLoop::quit);
    loop.exec();

    EXPECT_EQ(takeSent(), step(1));
    EXPECT_EQ(panel.runner()->testStep(), 2);
}

TEST_F(TestViewControllerTest, ChaseWaitsWhileNoModalPanelIsUpAndGoesOnWhenOneIsUpAgain)
{
    TestViewController panel { sendToSharedBox };
    showModal(panel);
    panel.testButton->click();
    tick(panel.runner()->timer());
    takeSent();

    panel.closeButton->click();
    QApplication::processEvents();
    ASSERT_FALSE(panel.isVisible());
    tick(panel.runner()->timer());
    tick(panel.runner()->timer());
    EXPECT_TRUE(takeSent().isEmpty());
    EXPECT_EQ(panel.runner()->testStep(), 2);
    EXPECT_TRUE(panel.runner()->timer()->isActive());

    QDialog otherPanel;
    otherPanel.setWindowModality(Qt::ApplicationModal);
    showModal(otherPanel);
    tick(panel.runner()->timer());
    EXPECT_EQ(takeSent(), step(2));
}

TEST_F(TestViewControllerTest, AWindowModalSheetDoesNotLetTheChaseStep)
{
    QWidget mainWindow;
    mainWindow.show();
    TestViewController panel { sendToSharedBox };
    showModal(panel);
    panel.testButton->click();
    panel.close();
    takeSent();

    QWidget sheet(&mainWindow, Qt::Sheet);
    sheet.setWindowModality(Qt::WindowModal);
    showModal(sheet);
    tick(panel.runner()->timer());

    EXPECT_TRUE(takeSent().isEmpty());
}

TEST_F(TestViewControllerTest, ChaseOutlivesADeletedPanelAndFreesItselfAfterItsLastStep)
{
    auto* panel = new TestViewController(sendToSharedBox);
    showModal(*panel);
    panel->testButton->click();
    QPointer<TestSequenceRunner> runner = panel->runner();
    QPointer<QTimer> timer = panel->runner()->timer();
    takeSent();

    delete panel;
    ASSERT_FALSE(runner.isNull());
    ASSERT_FALSE(timer.isNull());
    tick(timer);
    EXPECT_TRUE(takeSent().isEmpty());

    QDialog otherPanel;
    otherPanel.setWindowModality(Qt::ApplicationModal);
    showModal(otherPanel);
    QList<quint8> expected;
    for (qsizetype index = 1; index < 21; ++index) {
        tick(timer);
        expected += step(index);
    }
    EXPECT_EQ(takeSent(), expected);
    ASSERT_FALSE(runner.isNull());

    tick(timer);
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    EXPECT_TRUE(runner.isNull());
    EXPECT_TRUE(timer.isNull());
}

TEST_F(TestViewControllerTest, DeletingAnIdlePanelKeepsNothingBehind)
{
    QPointer<TestSequenceRunner> runner;
    QPointer<TestSequenceRunner> finishedRunner;
    {
        TestViewController idle { sendToSharedBox };
        runner = idle.runner();
        TestViewController finished { sendToSharedBox };
        showModal(finished);
        finished.testButton->click();
        for (int ticks = 0; ticks < 21; ++ticks) {
            tick(finished.runner()->timer());
        }
        ASSERT_FALSE(finished.runner()->timer()->isActive());
        finishedRunner = finished.runner();
    }
    EXPECT_TRUE(runner.isNull());
    EXPECT_TRUE(finishedRunner.isNull());
}

TEST_F(TestViewControllerTest, RestartDuringAChaseDoublesThePaceAndBothTimersStopThemselves)
{
    TestViewController panel { sendToSharedBox };
    showModal(panel);
    panel.testButton->click();
    QTimer* first = panel.runner()->timer();
    tick(first);
    tick(first);
    takeSent();

    panel.testButton->click();
    QTimer* second = panel.runner()->timer();
    ASSERT_NE(second, first);
    EXPECT_TRUE(first->isActive());
    EXPECT_EQ(takeSent(), step(0));
    EXPECT_EQ(panel.runner()->testStep(), 1);

    // Both timers tick every half second and share one step counter: two
    // steps go out per half second until the chase ends.
    QList<quint8> expected;
    for (qsizetype index = 1; index < 21; index += 2) {
        tick(first);
        tick(second);
        expected += step(index);
        if (index + 1 < 21) {
            expected += step(index + 1);
        }
    }
    EXPECT_EQ(takeSent(), expected);
    EXPECT_EQ(panel.runner()->testStep(), 21);
    // Ten rounds sent steps 2 to 21; each timer stops on its own first tick
    // after the last step, sending nothing.
    EXPECT_TRUE(first->isActive());
    EXPECT_TRUE(second->isActive());
    tick(first);
    EXPECT_FALSE(first->isActive());
    EXPECT_TRUE(second->isActive());
    tick(second);
    EXPECT_FALSE(second->isActive());
    EXPECT_TRUE(takeSent().isEmpty());
}

TEST_F(TestViewControllerTest, CheckBoxesAndAllOffMixTheirBytesWithARunningChase)
{
    TestViewController panel { sendToSharedBox };
    showModal(panel);
    panel.testButton->click();
    takeSent();

    tick(panel.runner()->timer());
    box(panel.previewStackView, 5)->click();
    panel.allOffButton->click();
    tick(panel.runner()->timer());

    QList<quint8> expected = step(1);
    expected += QList<quint8>({ 0xD5, 0xB0, 0xD0 });
    expected += step(2);
    EXPECT_EQ(takeSent(), expected);
}

TEST_F(TestViewControllerTest, PanelIsApplicationModal)
{
    TestViewController panel { sendToSharedBox };
    EXPECT_EQ(panel.windowModality(), Qt::ApplicationModal);
    showModal(panel);
    EXPECT_TRUE(ModalSession::isActive());
}

TEST_F(TestViewControllerTest, CloseButtonClosesThePanelByItself)
{
    QWidget presenter;
    auto* panel = new TestViewController(sendToSharedBox, &presenter);
    showModal(*panel);

    panel->closeButton->click();
    QApplication::processEvents();

    EXPECT_FALSE(panel->isVisible());
    EXPECT_FALSE(ModalSession::isActive());
}

TEST_F(TestViewControllerTest, WindowCloseBoxClosesThePanel)
{
    TestViewController panel { sendToSharedBox };
    showModal(panel);
    EXPECT_TRUE(panel.close());
    QApplication::processEvents();
    EXPECT_FALSE(panel.isVisible());
    EXPECT_FALSE(ModalSession::isActive());
}

TEST_F(TestViewControllerTest, BytesVanishWhileNoDeviceIsAttachedAndThePanelCarriesOn)
{
    TestViewController panel { sendToSharedBox };
    FakeBackend* bare = nullptr;
    {
        auto backend = std::make_unique<FakeBackend>();
        bare = backend.get();
        USBHIDAppDelegate::setSharedBackendForTesting(std::move(backend));
    }
    box(panel.programStackView, 1)->click();
    panel.allOffButton->click();
    panel.testButton->click();
    EXPECT_EQ(panel.runner()->testStep(), 1);

    auto late = std::make_shared<FakeDevice>(QStringLiteral("late"));
    bare->plug(late);
    EXPECT_TRUE(late->reports.isEmpty());
    box(panel.programStackView, 2)->click();
    EXPECT_EQ(late->commandBytes(), QList<quint8>({ 0xB2 }));
    EXPECT_TRUE(device->reports.isEmpty());
}

namespace {

QList<TallyMode> sentModes(const TestViewController& panel)
{
    QList<TallyMode> modes;
    for (const QPointer<TallyState>& lamp : panel.sentLamps()) {
        modes.append(lamp->mode);
    }
    return modes;
}

QList<TallyMode> modes(std::initializer_list<int> lightsLive, std::initializer_list<int> lightsInPreview)
{
    QList<TallyMode> all(8, TallyMode::off);
    for (const int light : lightsInPreview) {
        all[light - 1] = TallyMode::preview;
    }
    for (const int light : lightsLive) {
        all[light - 1] = TallyMode::live;
    }
    return all;
}

bool anyBoxChecked(const TestViewController& panel)
{
    for (QWidget* row : { panel.programStackView.data(), panel.previewStackView.data() }) {
        for (const QCheckBox* each : row->findChildren<QCheckBox*>()) {
            if (each->isChecked()) {
                return true;
            }
        }
    }
    return false;
}

} // namespace

TEST_F(TestViewControllerTest, EightSentLampsInTheLargeStyleEachUnderItsLightsBoxesAllDarkAtFirst)
{
    TestViewController panel { sendToSharedBox };
    showModal(panel);
    ASSERT_EQ(panel.sentLamps().size(), 8);
    EXPECT_EQ(sentModes(panel), modes({}, {}));
    for (int light = 1; light <= 8; ++light) {
        const TallyState* lamp = panel.sentLamps().at(light - 1);
        EXPECT_TRUE(lamp->glanceable);
        EXPECT_EQ(lamp->lightNumber, light);
        EXPECT_TRUE(lamp->isVisible());
        const QCheckBox* above = box(panel.programStackView, light);
        const int lampCentre = lamp->mapTo(&panel, lamp->rect().center()).x();
        const int boxLeft = above->mapTo(&panel, QPoint(0, 0)).x();
        EXPECT_GE(lampCentre, boxLeft) << "light " << light;
        EXPECT_LE(lampCentre, boxLeft + above->width()) << "light " << light;
    }
    EXPECT_TRUE(takeSent().isEmpty());
}

TEST_F(TestViewControllerTest, SentLampsFollowEveryCheckBoxClick)
{
    TestViewController panel { sendToSharedBox };
    box(panel.programStackView, 3)->click();
    box(panel.previewStackView, 5)->click();
    EXPECT_EQ(sentModes(panel), modes({ 3 }, { 5 }));
    box(panel.previewStackView, 3)->click();
    EXPECT_EQ(panel.mirror().lamps(2), (LightCommandMirror::Lamps { true, true }));
    box(panel.programStackView, 3)->click();
    EXPECT_EQ(sentModes(panel), modes({}, { 3, 5 }));
    EXPECT_EQ(takeSent(), QList<quint8>({ 0xB3, 0xD5, 0xD3, 0x03 }));
}

TEST_F(TestViewControllerTest, ALitSentLampIsPaintedInItsColourWithItsNumber)
{
    TestViewController panel { sendToSharedBox };
    showModal(panel);
    box(panel.programStackView, 1)->click();
    box(panel.previewStackView, 2)->click();
    QApplication::processEvents();
    for (const auto& [index, colour] :
        { std::pair { 0, QColor(0xFF, 0x00, 0x00) }, std::pair { 1, QColor(0x00, 0xFF, 0x00) } }) {
        TallyState* lamp = panel.sentLamps().at(index);
        const QImage image = lamp->grab().toImage();
        const LampLabelLayout layout = lamp->glanceableLayout();
        const QRect text = layout.textRect().toAlignedRect();
        EXPECT_EQ(image.pixelColor(text.left() + 1, text.top() + 1), colour) << "lamp " << index + 1;
        int ink = 0;
        const QRect number = layout.line(LampLabelLayout::Role::number)->box.toAlignedRect().intersected(text);
        for (int y = number.top(); y <= number.bottom(); ++y) {
            for (int x = number.left(); x <= number.right(); ++x) {
                ink += qGray(image.pixel(x, y)) < 60 ? 1 : 0;
            }
        }
        EXPECT_GT(ink, 5) << "no number in lamp " << index + 1;
    }
}

TEST_F(TestViewControllerTest, AllOffDarkensEverySentLampAndLeavesThemDarkWhileTheBoxesAreCleared)
{
    TestViewController panel { sendToSharedBox };
    box(panel.programStackView, 1)->click();
    box(panel.previewStackView, 8)->click();
    panel.allOffButton->click();
    EXPECT_EQ(sentModes(panel), modes({}, {}));
    EXPECT_FALSE(anyBoxChecked(panel));
    EXPECT_EQ(takeSent(), QList<quint8>({ 0xB1, 0xD8, 0xB0, 0xD0 }));
}

TEST_F(TestViewControllerTest, SentLampsFollowTheChaseStepByStepWhileTheBoxesStayCleared)
{
    TestViewController panel { sendToSharedBox };
    showModal(panel);
    box(panel.programStackView, 4)->click();
    box(panel.previewStackView, 6)->click();
    panel.testButton->click();
    EXPECT_FALSE(anyBoxChecked(panel));
    EXPECT_EQ(sentModes(panel), modes({ 1, 2, 3, 4, 5, 6, 7, 8 }, {}));
    const QList<QList<TallyMode>> expected {
        modes({}, {}),
        modes({}, { 1, 2, 3, 4, 5, 6, 7, 8 }),
        modes({}, {}),
        modes({ 1 }, {}),
        modes({}, { 1 }),
        modes({ 2 }, {}),
    };
    for (const QList<TallyMode>& next : expected) {
        tick(panel.runner()->timer());
        EXPECT_EQ(sentModes(panel), next) << "step " << panel.runner()->testStep();
        EXPECT_FALSE(anyBoxChecked(panel)) << "step " << panel.runner()->testStep();
    }
}

TEST_F(TestViewControllerTest, SentLampsShowWhatThePanelSentEvenWithNoDeviceToReceiveIt)
{
    TestViewController panel { sendToSharedBox };
    USBHIDAppDelegate::setSharedBackendForTesting(std::make_unique<FakeBackend>());
    box(panel.previewStackView, 7)->click();
    EXPECT_EQ(sentModes(panel), modes({}, { 7 }));
    EXPECT_TRUE(device->reports.isEmpty());
}

TEST_F(TestViewControllerTest, ChaseProgressCountsTheStepsSentAndEndsFinished)
{
    TestViewController panel { sendToSharedBox };
    showModal(panel);
    EXPECT_EQ(panel.chaseProgressLabel->text(), QStringLiteral("Chase not running"));
    EXPECT_EQ(panel.chaseProgressBar->value(), 0);
    EXPECT_EQ(panel.chaseProgressBar->maximum(), 21);

    panel.testButton->click();
    EXPECT_EQ(panel.chaseProgressLabel->text(), QStringLiteral("Step 1 of 21"));
    EXPECT_EQ(panel.chaseProgressBar->value(), 1);
    for (int ticks = 0; ticks < 6; ++ticks) {
        tick(panel.runner()->timer());
    }
    EXPECT_EQ(panel.chaseProgressLabel->text(), QStringLiteral("Step 7 of 21"));
    EXPECT_EQ(panel.chaseProgressBar->value(), 7);

    for (int ticks = 0; ticks < 14; ++ticks) {
        tick(panel.runner()->timer());
    }
    EXPECT_EQ(panel.chaseProgressLabel->text(), QStringLiteral("Step 21 of 21"));
    tick(panel.runner()->timer());
    EXPECT_EQ(panel.chaseProgressLabel->text(), QStringLiteral("Chase finished: 21 steps"));
    EXPECT_EQ(panel.chaseProgressBar->value(), 21);
}

TEST_F(TestViewControllerTest, StopIsEnabledOnlyWhileAChaseRuns)
{
    TestViewController panel { sendToSharedBox };
    showModal(panel);
    EXPECT_EQ(panel.stopButton->text(), QStringLiteral("Stop"));
    EXPECT_FALSE(panel.stopButton->isEnabled());
    panel.testButton->click();
    EXPECT_TRUE(panel.stopButton->isEnabled());
    for (int ticks = 0; ticks < 20; ++ticks) {
        tick(panel.runner()->timer());
    }
    EXPECT_TRUE(panel.stopButton->isEnabled()) << "the timer has yet to stop itself";
    tick(panel.runner()->timer());
    EXPECT_FALSE(panel.stopButton->isEnabled());
}

TEST_F(TestViewControllerTest, StopEndsEveryChaseTimerARestartLeftAndSendsNothingMoreWhileTheLampsStayAsTheyAre)
{
    TestViewController panel { sendToSharedBox };
    showModal(panel);
    panel.testButton->click();
    QTimer* first = panel.runner()->timer();
    tick(first);
    panel.testButton->click();
    QTimer* second = panel.runner()->timer();
    for (int ticks = 0; ticks < 3; ++ticks) {
        tick(first);
        tick(second);
    }
    ASSERT_EQ(panel.runner()->testStep(), 7);
    const QList<TallyMode> before = sentModes(panel);
    ASSERT_EQ(before, modes({ 2 }, {}));
    takeSent();

    panel.stopButton->click();

    EXPECT_FALSE(first->isActive());
    EXPECT_FALSE(second->isActive());
    EXPECT_FALSE(panel.stopButton->isEnabled());
    EXPECT_EQ(panel.chaseProgressLabel->text(), QStringLiteral("Stopped after step 7 of 21"));
    EXPECT_EQ(panel.chaseProgressBar->value(), 7);
    // A second and more on the event loop's own timers: nothing goes out.
    QEventLoop loop;
    QTimer::singleShot(1200, &loop, &QEventLoop::quit);
    loop.exec();
    EXPECT_TRUE(takeSent().isEmpty());
    EXPECT_EQ(panel.runner()->testStep(), 7);
    EXPECT_EQ(sentModes(panel), before);
    EXPECT_FALSE(anyBoxChecked(panel));
}

TEST_F(TestViewControllerTest, TestAfterStopRunsTheChaseAgainFromItsFirstStep)
{
    TestViewController panel { sendToSharedBox };
    showModal(panel);
    panel.testButton->click();
    tick(panel.runner()->timer());
    panel.stopButton->click();
    takeSent();

    panel.testButton->click();

    EXPECT_EQ(takeSent(), step(0));
    EXPECT_TRUE(panel.runner()->timer()->isActive());
    EXPECT_TRUE(panel.stopButton->isEnabled());
    EXPECT_EQ(panel.chaseProgressLabel->text(), QStringLiteral("Step 1 of 21"));
}

TEST_F(TestViewControllerTest, AStoppedChaseLeavesNothingBehindWhenThePanelGoes)
{
    QPointer<TestSequenceRunner> runner;
    {
        TestViewController panel { sendToSharedBox };
        showModal(panel);
        panel.testButton->click();
        panel.stopButton->click();
        runner = panel.runner();
    }
    EXPECT_TRUE(runner.isNull());
}

using TestViewControllerDeathTest = TestViewControllerTest;

TEST_F(TestViewControllerDeathTest, ALightActionFromSomethingOtherThanACheckBoxStops)
{
    TestViewController panel { sendToSharedBox };
    EXPECT_DEATH(panel.programOnSender(panel.testButton), "fatal error: .*QPushButton, which is not a check box");
    EXPECT_DEATH(panel.previewOnSender(nullptr), "fatal error: .*nothing, which is not a check box");
}

TEST_F(TestViewControllerDeathTest, ACheckBoxTitledWithSomethingOtherThanALightNumberStops)
{
    TestViewController panel { sendToSharedBox };
    QCheckBox* program = box(panel.programStackView, 1);
    QCheckBox* preview = box(panel.previewStackView, 2);
    program->setText(QStringLiteral("One"));
    preview->setText(QStringLiteral("256"));
    EXPECT_DEATH(program->click(), "fatal error: test panel check box title \"One\"");
    EXPECT_DEATH(preview->click(), "fatal error: test panel check box title \"256\"");
}

TEST_F(TestViewControllerDeathTest, ClearingARowThatHoldsSomethingOtherThanACheckBoxStops)
{
    TestViewController panel { sendToSharedBox };
    panel.previewStackView->layout()->addWidget(new QLabel(QStringLiteral("9"), panel.previewStackView));
    EXPECT_DEATH(panel.allOffButton->click(), "fatal error: .*previewStackView holds QLabel, which is not a check box");
}
