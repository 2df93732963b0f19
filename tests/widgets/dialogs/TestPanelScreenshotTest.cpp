// Renders the light test panel to PNG files under the build tree's
// screenshots/ folder, so that a person can look at what it shows: lights
// switched by hand, and the chase under way.

#include "base/ModalSession.h"
#include "core/hardware/HardwareFakes.h"
#include "dialogs/TestViewController.h"
#include "hardware/TestSequenceRunner.h"
#include "hardware/USBHIDAppDelegate.h"
#include "lamps/TallyState.h"
#include "mainwindow/ModalPanelProbe.h"
#include "support/QtPrinters.h"

#include <QApplication>
#include <QCheckBox>
#include <QDir>
#include <QImage>
#include <QLayout>
#include <QTimer>

#include <gtest/gtest.h>

namespace {

// The bytes go to a plugged-in stand-in device, never to real hardware.
class TestPanelScreenshotTest : public testing::Test {
protected:
    TestPanelScreenshotTest()
    {
        auto backend = std::make_unique<FakeBackend>();
        FakeBackend* fake = backend.get();
        USBHIDAppDelegate::setSharedBackendForTesting(std::move(backend));
        fake->plug(std::make_shared<FakeDevice>());
        installModalPanelProbe();
    }

    ~TestPanelScreenshotTest() override
    {
        for (TestSequenceRunner* left : qApp->findChildren<TestSequenceRunner*>(Qt::FindDirectChildrenOnly)) {
            delete left;
        }
        ModalSession::setProbe({});
        USBHIDAppDelegate::setSharedBackendForTesting(std::make_unique<FakeBackend>());
    }

    static QCheckBox* box(QWidget* row, int lightNumber)
    {
        return qobject_cast<QCheckBox*>(row->layout()->itemAt(lightNumber - 1)->widget());
    }

    static QString screenshotPath(const QString& name)
    {
        const QString folder = QStringLiteral(TALLY_BINARY_DIR "/screenshots");
        EXPECT_TRUE(QDir().mkpath(folder));
        return folder + QLatin1Char('/') + name;
    }

    static void expectEverythingInside(const TestViewController& panel)
    {
        for (const QWidget* part : { static_cast<QWidget*>(panel.programStackView),
                 static_cast<QWidget*>(panel.previewStackView), static_cast<QWidget*>(panel.lampStackView),
                 static_cast<QWidget*>(panel.chaseProgressBar), static_cast<QWidget*>(panel.closeButton) }) {
            EXPECT_TRUE(panel.rect().contains(QRect(part->mapTo(&panel, QPoint(0, 0)), part->size())))
                << part->objectName().toStdString();
        }
    }

    // The colour in the middle of a lamp's fill, beside its number.
    static QColor fillOf(const TestViewController& panel, const QImage& image, int lightNumber)
    {
        const TallyState* lamp = panel.sentLamps().at(lightNumber - 1);
        const QPoint inside = lamp->mapTo(&panel, lamp->glanceableLayout().textRect().topLeft().toPoint());
        return image.pixelColor(inside * image.devicePixelRatio());
    }
};

} // namespace

TEST_F(TestPanelScreenshotTest, PanelWithSomeLightsSwitchedOnByHand)
{
    TestViewController panel { sendToSharedBox };
    panel.show();
    // Program on for light 2, preview on for lights 2 and 5, as a user
    // checking the wiring would leave them.
    box(panel.programStackView, 2)->click();
    box(panel.previewStackView, 2)->click();
    box(panel.previewStackView, 5)->click();
    QApplication::processEvents();

    const QString path = screenshotPath(QStringLiteral("test-panel-by-hand.png"));
    QFile::remove(path);
    ASSERT_TRUE(panel.grab().save(path)) << path.toStdString();
    const QImage saved(path);
    EXPECT_EQ(saved.size(), panel.size() * panel.devicePixelRatio());
    expectEverythingInside(panel);
    // Program wins the lamp of light 2; light 5 shows its preview.
    EXPECT_EQ(fillOf(panel, saved, 2), QColor(0xFF, 0x00, 0x00));
    EXPECT_EQ(fillOf(panel, saved, 5), QColor(0x00, 0xFF, 0x00));
}

TEST_F(TestPanelScreenshotTest, PanelDuringTheChaseShowsTheLampsLitAndTheStep)
{
    TestViewController panel { sendToSharedBox };
    panel.show();
    QApplication::processEvents();
    panel.testButton->click();
    for (int ticks = 0; ticks < 6; ++ticks) {
        QMetaObject::invokeMethod(panel.runner()->timer(), "timeout");
    }
    // Light 5's preview switched on by hand while the chase walks light 2.
    box(panel.previewStackView, 5)->click();
    QApplication::processEvents();

    const QString path = screenshotPath(QStringLiteral("test-panel.png"));
    QFile::remove(path);
    const QImage image = panel.grab().toImage();
    ASSERT_TRUE(image.save(path)) << path.toStdString();
    expectEverythingInside(panel);
    EXPECT_EQ(panel.chaseProgressLabel->text(), QStringLiteral("Step 7 of 21"));
    EXPECT_TRUE(panel.stopButton->isEnabled());
    EXPECT_EQ(fillOf(panel, image, 2), QColor(0xFF, 0x00, 0x00));
    EXPECT_EQ(fillOf(panel, image, 5), QColor(0x00, 0xFF, 0x00));
    EXPECT_NE(fillOf(panel, image, 1), QColor(0xFF, 0x00, 0x00));
}
