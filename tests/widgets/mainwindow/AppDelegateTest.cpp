#include "mainwindow/AppDelegate.h"

#include "dialogs/EditViewController.h"
#include "support/QtPrinters.h"
#include "widgets/mainwindow/MainWindowFixture.h"

#include <QDialog>
#include <QFileInfo>
#include <QMainWindow>
#include <QSettings>
#include <QTest>
#include <QTimer>

#include <gtest/gtest.h>

namespace {

class AppDelegateTest : public MainWindowFixture {
protected:
    AppDelegate delegate;
};

} // namespace

TEST_F(AppDelegateTest, FinishingLaunchingRegistersBothDefaultsWithoutStoringThem)
{
    const QString path = directory.filePath(QStringLiteral("fresh.ini"));
    UserDefaults::standardUserDefaults().useSettingsFile(path);
    UserDefaults::standardUserDefaults().registerDefaults(
        { { Preferences::alwaysOnTop, true }, { Preferences::showEmptyLayers, false } });
    delegate.applicationDidFinishLaunching();
    EXPECT_FALSE(UserDefaults::standardUserDefaults().boolForKey(Preferences::alwaysOnTop));
    EXPECT_TRUE(UserDefaults::standardUserDefaults().boolForKey(Preferences::showEmptyLayers));
    EXPECT_TRUE(QSettings(path, QSettings::IniFormat).allKeys().isEmpty());
}

TEST_F(AppDelegateTest, OpeningThreeFilesAtOnceOpensOnlyTheFirst)
{
    makeWindow();
    delegate.setKeyWindow(main.window.get());
    const QString first = writeFile(QStringLiteral("first.tlx"), "0|Cam 1\r\n");
    const QString second = writeFile(QStringLiteral("second.tlx"), "0|Cam 2\r\n");
    const QString third = writeFile(QStringLiteral("third.tlx"), "0|Cam 3\r\n");
    delegate.applicationOpenFiles({ first, second, third });
    EXPECT_EQ(controller->currentDocumentUrl(), QUrl::fromLocalFile(first));
    EXPECT_EQ(button(1)->text(), QStringLiteral("Cam 1"));
    EXPECT_EQ(controller->document().recentDocuments().recentDocuments(),
        QStringList { QFileInfo(first).canonicalFilePath() });
}

TEST_F(AppDelegateTest, AFileHandedOverWhileTheShotEditorIsUpOpensOnceItClosesAndGetsNoneOfItsEdits)
{
    answer({ { "1", "Cam 1", true, false }, { "2", "Cam 2", false, true } });
    makeWindow();
    delegate.setKeyWindow(main.window.get());
    main.window->show();
    const QString first = writeFile(QStringLiteral("first.tlx"), "0|Cam 1\r\n");
    const QString second = writeFile(QStringLiteral("second.tlx"), "0|Cam 2\r\n");
    delegate.applicationOpenFiles({ first });
    tick();
    controller->setEnableEditing(true);
    button(2)->click();
    auto* editor = main.window->findChild<EditViewController*>();
    ASSERT_NE(editor, nullptr);
    ASSERT_TRUE(editor->isVisible());

    // A second launch hands over another map while the editor works on the
    // first one's light 2.
    delegate.applicationOpenFiles({ second });
    QTest::qWait(3 * AppDelegate::waitingRetryMilliseconds);
    EXPECT_EQ(controller->currentDocumentUrl(), QUrl::fromLocalFile(first));
    EXPECT_EQ(button(1)->text(), QStringLiteral("Cam 1"));

    // Done: the edit lands in the map it was made for, then the handed-over
    // map opens as it is on disk.
    editor->setRepresentedObject({ controller->shotList(), { controller->shotList().at(1) } });
    editor->finishEditingWithSender(nullptr);
    EXPECT_EQ(button(2)->text(), QStringLiteral("Cam 2"));
    EXPECT_TRUE(QTest::qWaitFor([&] { return controller->currentDocumentUrl() == QUrl::fromLocalFile(second); }, 5000));
    EXPECT_EQ(button(1)->text(), QStringLiteral("Cam 2"));
    EXPECT_EQ(button(2)->text(), QStringLiteral("Not Assigned"));
    EXPECT_EQ(readFile(second), QByteArray("0|Cam 2\r\n"));
}

TEST_F(AppDelegateTest, AFileHandedOverWhileAnApplicationModalPanelIsUpOpensOnceItCloses)
{
    makeWindow();
    delegate.setKeyWindow(main.window.get());
    main.window->show();
    const QString path = writeFile(QStringLiteral("studio.tlx"), "0|Cam 1\r\n");
    QDialog panel(main.window.get());
    panel.setWindowModality(Qt::ApplicationModal);
    QUrl openedWhilePanelUp;
    QTimer::singleShot(0, &panel, [&] {
        delegate.applicationOpenFiles({ path });
        QTest::qWait(3 * AppDelegate::waitingRetryMilliseconds);
        openedWhilePanelUp = controller->currentDocumentUrl();
        panel.reject();
    });
    panel.exec();
    EXPECT_TRUE(openedWhilePanelUp.path().isEmpty()) << openedWhilePanelUp.toString().toStdString();
    EXPECT_TRUE(QTest::qWaitFor([&] { return controller->currentDocumentUrl() == QUrl::fromLocalFile(path); }, 5000));
}

TEST_F(AppDelegateTest, NoFilesOpensNothing)
{
    makeWindow();
    delegate.setKeyWindow(main.window.get());
    delegate.applicationOpenFiles({});
    EXPECT_TRUE(controller->currentDocumentUrl().path().isEmpty());
}

TEST_F(AppDelegateTest, QuittingSendsNoByteToTheTallyBox)
{
    answer({ { "1", "Cam 1", true, false } });
    makeWindow();
    main.window->show();
    tick();
    tick();
    const qsizetype sent = device->reports.size();
    ASSERT_EQ(sent, 32);
    delegate.applicationWillTerminate();
    main.window->close();
    main.window.reset();
    EXPECT_EQ(device->reports.size(), sent);
}

TEST(CustomWindowTest, TheLevelIsThreeWhileStayingOnTopAndZeroOtherwise)
{
    CustomWindow window;
    EXPECT_EQ(window.windowLevel(), CustomWindow::normalWindowLevel);
    window.setWindowFlag(Qt::WindowStaysOnTopHint, true);
    EXPECT_EQ(window.windowLevel(), 3);
    window.setWindowLevel(0);
    EXPECT_FALSE(window.windowFlags().testFlag(Qt::WindowStaysOnTopHint));
    EXPECT_EQ(window.windowLevel(), 0);
}

using AppDelegateDeathTest = AppDelegateTest;

TEST_F(AppDelegateDeathTest, AFileWithNoMainWindowStopsTheProcess)
{
    EXPECT_DEATH(delegate.applicationOpenFiles({ QStringLiteral("/tmp/a.tlx") }),
        "fatal error: a file was handed over with no main window");
}

TEST_F(AppDelegateDeathTest, AWindowWithoutContentStopsTheProcess)
{
    QMainWindow window;
    delegate.setKeyWindow(&window);
    EXPECT_DEATH(delegate.applicationOpenFiles({ QStringLiteral("/tmp/a.tlx") }),
        "fatal error: the main window has no content view controller");
}

TEST_F(AppDelegateDeathTest, AWindowWithAnotherControllerStopsTheProcess)
{
    QMainWindow window;
    window.setCentralWidget(new QWidget);
    delegate.setKeyWindow(&window);
    EXPECT_DEATH(delegate.applicationOpenFiles({ QStringLiteral("/tmp/a.tlx") }),
        "fatal error: the main window's content is a QWidget, not the main screen controller");
}
