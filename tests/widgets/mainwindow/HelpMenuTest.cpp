// Help > Mixdesk Tally Help: the installed manual opens in the desktop's
// viewer, and a manual that is not installed is said, not silently ignored.

#include "widgets/mainwindow/MainWindowFixture.h"

#include <QCoreApplication>
#include <QDesktopServices>
#include <QDir>
#include <QMessageBox>

namespace {

// Takes the file addresses the desktop would be asked to open.
class OpenedUrls : public QObject {
    Q_OBJECT

public:
    QList<QUrl> urls;

public Q_SLOTS:
    void open(const QUrl& url) { urls.append(url); }
};

class HelpMenuTest : public MainWindowFixture {
protected:
    void SetUp() override
    {
        MainWindowFixture::SetUp();
        QDesktopServices::setUrlHandler(QStringLiteral("file"), &opened, "open");
    }

    void TearDown() override
    {
        QDesktopServices::unsetUrlHandler(QStringLiteral("file"));
        MainWindowFixture::TearDown();
    }

    QMessageBox* messageBox() const { return main.window->findChild<QMessageBox*>(); }

    OpenedUrls opened;
};

} // namespace

TEST_F(HelpMenuTest, HelpComesBeforeAboutWithTheUsualKey)
{
    makeWindow();
    QAction* help = main.menu->helpAction();
    ASSERT_NE(help, nullptr);
    EXPECT_EQ(help->text(), QStringLiteral("Mixdesk Tally &Help"));
    EXPECT_EQ(help->shortcut(), QKeySequence(QKeySequence::HelpContents));
    const QList<QAction*> items = main.menu->helpMenu()->actions();
    EXPECT_LT(items.indexOf(help), items.indexOf(main.menu->aboutAction()));
}

TEST_F(HelpMenuTest, TheInstalledManualOpensAtItsIndex)
{
    makeWindow();
    const QString folder = directory.filePath(QStringLiteral("share/doc/mixdesk-tally"));
    ASSERT_TRUE(QDir().mkpath(folder));
    writeFile(QStringLiteral("share/doc/mixdesk-tally/index.md"), "# Mixdesk Tally manual\n");
    main.menu->setManualFolders({ directory.filePath(QStringLiteral("nothing-here")), folder });
    main.menu->helpAction()->trigger();
    ASSERT_EQ(opened.urls.size(), 1);
    EXPECT_EQ(opened.urls.first(), QUrl::fromLocalFile(QDir(folder).filePath(QStringLiteral("index.md"))));
    EXPECT_EQ(messageBox(), nullptr);
}

TEST_F(HelpMenuTest, AManualThatIsNotInstalledIsSaidWithWhereItWasLookedFor)
{
    makeWindow();
    const QString missing = directory.filePath(QStringLiteral("no-manual"));
    main.menu->setManualFolders({ missing });
    main.menu->helpAction()->trigger();
    EXPECT_TRUE(opened.urls.isEmpty());
    QMessageBox* box = messageBox();
    ASSERT_NE(box, nullptr);
    EXPECT_TRUE(box->text().startsWith(QStringLiteral("The manual is not installed"))) << box->text().toStdString();
    EXPECT_TRUE(box->text().contains(missing)) << box->text().toStdString();
    EXPECT_EQ(box->windowModality(), Qt::WindowModal);
    box->close();
}

TEST_F(HelpMenuTest, ByDefaultHelpLooksBesideTheProgramFirst)
{
    makeWindow();
    // Nothing is installed beside the test program: the box names the place
    // the program's own installation would have put the manual.
    main.menu->helpAction()->trigger();
    const QString besideProgram
        = QDir::cleanPath(QCoreApplication::applicationDirPath() + QStringLiteral("/../share/doc/mixdesk-tally"));
    if (!opened.urls.isEmpty()) {
        GTEST_SKIP() << "a manual is installed on this machine: " << opened.urls.first().toString().toStdString();
    }
    QMessageBox* box = messageBox();
    ASSERT_NE(box, nullptr);
    EXPECT_TRUE(box->text().contains(besideProgram)) << box->text().toStdString();
    box->close();
}

#include "HelpMenuTest.moc"
