// Renders the main window and its dialogs into build/<preset>/screenshots
// (main-window.png with a live light, a preview light and the warning, and
// the others beside it), so that a person can look at the layout.

#include "dialogs/NetworkOutputsDialog.h"
#include "dialogs/PhoneLinksView.h"
#include "mainwindow/StatusLine.h"
#include "net/outputs/WebTallyClient.h"
#include "outputs/WebTallyServer.h"
#include "support/FreePort.h"
#include "support/QrReader.h"
#include "support/QtPrinters.h"
#include "widgets/mainwindow/MainWindowFixture.h"

#include <QApplication>
#include <QDir>
#include <QImage>
#include <QLabel>
#include <QListWidget>
#include <QPlainTextEdit>

#include <gtest/gtest.h>

namespace {

class MainWindowScreenshotTest : public MainWindowFixture { };

QString screenshotPath(const QString& name)
{
    const QString folder = QStringLiteral(TALLY_BINARY_DIR "/screenshots");
    EXPECT_TRUE(QDir().mkpath(folder));
    return folder + QLatin1Char('/') + name;
}

} // namespace

TEST_F(MainWindowScreenshotTest, MainWindowWithLiveAndPreviewLights)
{
    makeWindowWithAStudio();
    main.window->show();
    tick();
    QApplication::processEvents();

    const QString path = screenshotPath(QStringLiteral("main-window.png"));
    QFile::remove(path);
    const QImage image = main.window->grab().toImage();
    ASSERT_TRUE(image.save(path)) << path.toStdString();
    // The first indicator is filled red, the second green.
    const QPoint firstCentre = controller->tallyStateDisplays()[0]->mapTo(
        main.window.get(), QPoint(controller->tallyStateDisplays()[0]->width() / 2, 4));
    EXPECT_EQ(image.pixelColor(firstCentre * image.devicePixelRatio()), QColor(0xFF, 0x00, 0x00));
    const QPoint secondCentre = controller->tallyStateDisplays()[1]->mapTo(
        main.window.get(), QPoint(controller->tallyStateDisplays()[1]->width() / 2, 4));
    EXPECT_EQ(image.pixelColor(secondCentre * image.devicePixelRatio()), QColor(0x00, 0xFF, 0x00));
}

TEST_F(MainWindowScreenshotTest, MainWindowWhileMixdeskIsNotRunning)
{
    platform->runningCount = 0;
    makeWindow();
    main.window->show();
    tick();
    QApplication::processEvents();
    ASSERT_TRUE(controller->mixdeskWarning()->isVisible());
    const QString path = screenshotPath(QStringLiteral("main-window-no-mixdesk.png"));
    QFile::remove(path);
    ASSERT_TRUE(main.window->grab().save(path)) << path.toStdString();
}

TEST_F(MainWindowScreenshotTest, MainWindowWithAProblemInTheStatusLine)
{
    makeWindowWithLiveAndPreview();
    main.window->show();
    USBHIDAppDelegate::shared().setController(nullptr);
    controller->loadTallyMap(QUrl::fromLocalFile(directory.filePath(QStringLiteral("Sunday service.tlx"))));
    tick();
    QApplication::processEvents();
    ASSERT_TRUE(main.statusLine->isVisible());
    ASSERT_TRUE(main.statusLine->showsProblem());
    const QString path = screenshotPath(QStringLiteral("main-window-status.png"));
    QFile::remove(path);
    ASSERT_TRUE(main.window->grab().save(path)) << path.toStdString();
}

TEST_F(MainWindowScreenshotTest, MainWindowMaximisedKeepsItsLampsInProportion)
{
    makeWindowWithLiveAndPreview();
    main.window->show();
    main.window->resize(1600, 900);
    tick();
    QApplication::processEvents();
    // The extra height goes to the lamps: the numbers sit right above them.
    const QWidget* number = controller->findChild<QWidget*>(QStringLiteral("lightNumber1"));
    ASSERT_NE(number, nullptr);
    const int gap = controller->tallyStateDisplays()[0]->geometry().top() - number->geometry().bottom();
    EXPECT_LT(gap, 20);
    EXPECT_GT(controller->tallyStateDisplays()[0]->height(), 400);
    const QString path = screenshotPath(QStringLiteral("main-window-maximised.png"));
    QFile::remove(path);
    ASSERT_TRUE(main.window->grab().save(path)) << path.toStdString();
}

TEST_F(MainWindowScreenshotTest, MainWindowWithLargeLampLabels)
{
    makeWindowWithAStudio();
    main.menu->largeLampLabelsAction()->trigger();
    main.window->show();
    tick();
    QApplication::processEvents();

    const QString path = screenshotPath(QStringLiteral("main-window-large-labels.png"));
    QFile::remove(path);
    const QImage image = main.window->grab().toImage();
    ASSERT_TRUE(image.save(path)) << path.toStdString();
    // Lamp 1 is red and lamp 2 green inside their frames; every lamp is
    // tall enough for its number, its shots and the mode's word.
    for (const auto& [index, colour] :
        { std::pair { 0, QColor(0xFF, 0x00, 0x00) }, std::pair { 1, QColor(0x00, 0xFF, 0x00) } }) {
        const TallyState* lamp = controller->tallyStateDisplays()[index];
        const QPoint inside
            = lamp->mapTo(main.window.get(), lamp->glanceableLayout().textRect().topLeft().toPoint() + QPoint(1, 1));
        EXPECT_EQ(image.pixelColor(inside * image.devicePixelRatio()), colour) << "lamp " << index + 1;
        EXPECT_EQ(lamp->glanceableLayout().lines().size(), 3) << "lamp " << index + 1;
    }
}

TEST_F(MainWindowScreenshotTest, MaximisedLargeLampLabelsGrowWithTheLamps)
{
    makeWindowWithAStudio();
    main.menu->largeLampLabelsAction()->trigger();
    main.window->show();
    QApplication::processEvents();
    const int normalNumberSize = controller->tallyStateDisplays()[0]->glanceableLayout().lines().first().pixelSize;
    main.window->resize(1600, 900);
    tick();
    QApplication::processEvents();

    const QString path = screenshotPath(QStringLiteral("main-window-large-labels-maximised.png"));
    QFile::remove(path);
    ASSERT_TRUE(main.window->grab().save(path)) << path.toStdString();
    // Read from across a studio: the number grows with the lamp, and the
    // lamps take the height the window gained.
    const LampLabelLayout layout = controller->tallyStateDisplays()[0]->glanceableLayout();
    ASSERT_FALSE(layout.lines().isEmpty());
    EXPECT_EQ(layout.lines().first().role, LampLabelLayout::Role::number);
    EXPECT_GT(layout.lines().first().pixelSize, 2 * normalNumberSize);
    EXPECT_GT(controller->tallyStateDisplays()[0]->height(), 400);
}

TEST_F(MainWindowScreenshotTest, NetworkOutputsDialogRefusingABadDestination)
{
    NetworkOutputChoices current;
    current.web = QStringLiteral("8080");
    current.tsl50Destinations = { QStringLiteral("udp://192.168.1.40:8900") };
    current.mqttBrokers = { QStringLiteral("mqtt://tally@broker.studio/studio-a") };
    current.mqttDiscovery = true;
    current.mqttPasswordFile = QStringLiteral("/etc/mixdesk-tally/mqtt-password");
    NetworkOutputsDialog dialog(
        current, [](const NetworkOutputChoices& choices, QString* problem) { return choices.check(problem); });
    dialog.tsl31Field->setPlainText(QStringLiteral("udp://monitor-wall"));
    dialog.show();
    dialog.tryChoices();
    QApplication::processEvents();

    ASSERT_TRUE(dialog.isVisible());
    ASSERT_TRUE(dialog.problemLabel->isVisible());
    const QString path = screenshotPath(QStringLiteral("network-outputs.png"));
    QFile::remove(path);
    const QImage image = dialog.grab().toImage();
    ASSERT_TRUE(image.save(path)) << path.toStdString();
    EXPECT_TRUE(dialog.problemLabel->text().contains(QStringLiteral("monitor-wall")))
        << dialog.problemLabel->text().toStdString();
}

TEST_F(MainWindowScreenshotTest, NetworkOutputsDialogWithThePhoneLinksAndTheirCodes)
{
    NetworkOutputChoices current;
    current.web = QStringLiteral("8080");
    current.tsl50Destinations = { QStringLiteral("udp://192.168.1.40:8900") };
    NetworkOutputsDialog dialog(current, [](const NetworkOutputChoices&, QString*) { return true; });
    dialog.showPhoneLinks(PhoneLinks::forPages(
        { QStringLiteral("http://192.168.1.20:8080/"), QStringLiteral("http://10.0.0.5:8080/") }, 8));
    dialog.phoneLinksView->list->setCurrentRow(3);
    dialog.show();
    dialog.resize(dialog.sizeHint().width(), 640);
    QApplication::processEvents();

    const QString path = screenshotPath(QStringLiteral("network-outputs-phones.png"));
    QFile::remove(path);
    const QImage image = dialog.grab().toImage();
    ASSERT_TRUE(image.save(path)) << path.toStdString();
    // The large code in the picture, as a phone's camera would see it on the
    // screen, scans to light 3's page.
    if (QrReader::program().isEmpty()) {
        GTEST_SKIP() << QrReader::notInstalled;
    }
    const QRect code(
        dialog.phoneLinksView->largeCode->mapTo(&dialog, QPoint(0, 0)), dialog.phoneLinksView->largeCode->size());
    const QString cropped = screenshotPath(QStringLiteral("network-outputs-phones-code.png"));
    ASSERT_TRUE(image.copy(QRect(code.topLeft() * image.devicePixelRatio(), code.size() * image.devicePixelRatio()))
                    .save(cropped));
    QString problem;
    EXPECT_EQ(QrReader::read(cropped, &problem), QStringLiteral("http://192.168.1.20:8080/light/3"))
        << problem.toStdString();
    QFile::remove(cropped);
}

TEST_F(MainWindowScreenshotTest, MainWindowWhoseStatusLineNamesTheSourceAndTheOutputs)
{
    makeWindowWithAStudio();
    main.window->show();
    const quint16 port = freePort();
    ASSERT_NE(port, 0);
    NetworkOutputChoices choices;
    choices.web = QStringLiteral("127.0.0.1:%1").arg(port);
    choices.tsl50Destinations = { QStringLiteral("udp://127.0.0.1:9") };
    ASSERT_TRUE(main.menu->chooseNetworkOutputs(choices, nullptr));
    PageSocket phone(port);
    ASSERT_TRUE(phone.connected());
    ASSERT_TRUE(eventually([&] { return controller->networkOutputs().webServer()->webSocketCount() == 1; }, 5000));
    tick();
    QApplication::processEvents();
    ASSERT_FALSE(main.statusLine->showsProblem()) << main.statusLine->text().toStdString();
    EXPECT_EQ(main.statusLine->text(),
        QStringLiteral("Following Mixdesk · 4 shots · Phones: 1 connected · TSL: 1 destination"));
    const QString path = screenshotPath(QStringLiteral("main-window-situation.png"));
    QFile::remove(path);
    ASSERT_TRUE(main.window->grab().save(path)) << path.toStdString();
}
