// Renders the light test panel to a PNG file under the build tree's
// screenshots/ folder, so that a person can look at what it shows.

#include "hardware/TestViewController.h"
#include "support/QtPrinters.h"

#include <QApplication>
#include <QCheckBox>
#include <QDir>
#include <QImage>
#include <QLayout>

#include <gtest/gtest.h>

TEST(TestPanelScreenshotTest, PanelWithSomeLightsSwitchedOnByHand)
{
    TestViewController panel;
    // Program on for light 2, preview on for lights 2 and 5, as a user
    // checking the wiring would leave them; set without sending anything.
    for (const auto& [row, index] : { std::pair { panel.programStackView.data(), 1 },
             std::pair { panel.previewStackView.data(), 1 }, std::pair { panel.previewStackView.data(), 4 } }) {
        qobject_cast<QCheckBox*>(row->layout()->itemAt(index)->widget())->setChecked(true);
    }
    panel.show();
    QApplication::processEvents();

    const QString folder = QStringLiteral(TALLY_BINARY_DIR "/screenshots");
    ASSERT_TRUE(QDir().mkpath(folder));
    const QString path = folder + QStringLiteral("/test-panel.png");
    QFile::remove(path);
    ASSERT_TRUE(panel.grab().save(path)) << path.toStdString();
    const QImage saved(path);
    EXPECT_EQ(saved.size(), panel.size() * panel.devicePixelRatio());
    // Both rows and the buttons fit inside the panel.
    for (const QWidget* part : { static_cast<QWidget*>(panel.programStackView),
             static_cast<QWidget*>(panel.previewStackView), static_cast<QWidget*>(panel.closeButton) }) {
        EXPECT_TRUE(panel.rect().contains(QRect(part->mapTo(&panel, QPoint(0, 0)), part->size())))
            << part->objectName().toStdString();
    }
}
