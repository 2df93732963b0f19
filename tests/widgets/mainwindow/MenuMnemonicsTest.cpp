// Every menu of the main window, the menu bar included, reaches each of its
// items by a key of its own: two items marked with one letter in a menu
// leave Alt+letter cycling between them instead of choosing.

#include "base/Text.h"
#include "mainwindow/LostSourceMenu.h"
#include "widgets/mainwindow/MainWindowFixture.h"

#include <QMenuBar>

namespace {

class MenuMnemonicsTest : public MainWindowFixture {
protected:
    // The items of a list that share a key, as "menu: key in 'a', 'b'"
    // lines; an item marking two keys is listed as well.
    static QStringList clashes(const QString& where, const QList<QAction*>& items)
    {
        QStringList found;
        QMap<QChar, QStringList> byKey;
        for (const QAction* item : items) {
            if (item->isSeparator()) {
                continue;
            }
            const QList<QChar> keys = Text::mnemonicsOf(item->text());
            if (keys.size() > 1) {
                found.append(QStringLiteral("%1: '%2' marks more than one key").arg(where, item->text()));
            }
            if (!keys.isEmpty()) {
                byKey[keys.first()].append(item->text());
            }
        }
        for (auto entry = byKey.cbegin(); entry != byKey.cend(); ++entry) {
            if (entry.value().size() > 1) {
                found.append(QStringLiteral("%1: %2 in '%3'")
                                 .arg(where, entry.key(), entry.value().join(QStringLiteral("', '"))));
            }
        }
        return found;
    }

    // The menu and every submenu under it, each opened first so that menus
    // filled as they open (Open Recent) are checked as the user sees them.
    static QStringList clashesUnder(QMenu& menu, const QString& where, int& menusWalked)
    {
        Q_EMIT menu.aboutToShow();
        ++menusWalked;
        QStringList found = clashes(where, menu.actions());
        for (QAction* item : menu.actions()) {
            if (QMenu* submenu = item->menu()) {
                found += clashesUnder(*submenu, where + QStringLiteral(" > ") + item->text(), menusWalked);
            }
        }
        return found;
    }

    QStringList clashesInTheWindow(int& menusWalked) const
    {
        QMenuBar* bar = main.window->menuBar();
        QStringList found = clashes(QStringLiteral("menu bar"), bar->actions());
        for (QAction* item : bar->actions()) {
            if (QMenu* menu = item->menu()) {
                found += clashesUnder(*menu, item->text(), menusWalked);
            }
        }
        return found;
    }
};

} // namespace

TEST_F(MenuMnemonicsTest, NoMenuOfTheMainWindowMarksOneKeyTwice)
{
    makeWindow();
    int menusWalked = 0;
    const QStringList found = clashesInTheWindow(menusWalked);
    EXPECT_TRUE(found.isEmpty()) << found.join(QLatin1Char('\n')).toStdString();
    // The six menus of the bar, Open Recent and When the Switcher Is Lost.
    EXPECT_GE(menusWalked, 8);
}

TEST_F(MenuMnemonicsTest, TheUsualBlinkDelaysAreReachedByTheirFirstDigit)
{
    makeWindow();
    LostSourceMenu& lost = *main.menu->lostSourceMenu();
    EXPECT_EQ(Text::mnemonicsOf(lost.blinkAction(5)->text()), QList<QChar>({ QLatin1Char('5') }));
    EXPECT_EQ(Text::mnemonicsOf(lost.blinkAction(10)->text()), QList<QChar>({ QLatin1Char('1') }));
    EXPECT_EQ(Text::mnemonicsOf(lost.blinkAction(30)->text()), QList<QChar>({ QLatin1Char('3') }));
    EXPECT_EQ(Text::mnemonicsOf(lost.blinkAction(60)->text()), QList<QChar>({ QLatin1Char('6') }));
}

TEST_F(MenuMnemonicsTest, ADelayFromTheCommandLineTakesOnlyAFreeKey)
{
    makeWindow();
    LostSourceMenu& lost = *main.menu->lostSourceMenu();
    // 15 would share 10's key; 7 has one of its own.
    controller->ticker().setLostSourcePolicy({ LostSourcePolicy::Action::blink, 15 });
    lost.showPolicy();
    controller->ticker().setLostSourcePolicy({ LostSourcePolicy::Action::blink, 7 });
    lost.showPolicy();
    EXPECT_TRUE(Text::mnemonicsOf(lost.blinkAction(15)->text()).isEmpty())
        << lost.blinkAction(15)->text().toStdString();
    EXPECT_EQ(Text::mnemonicsOf(lost.blinkAction(7)->text()), QList<QChar>({ QLatin1Char('7') }));
    int menusWalked = 0;
    const QStringList found = clashesInTheWindow(menusWalked);
    EXPECT_TRUE(found.isEmpty()) << found.join(QLatin1Char('\n')).toStdString();
}

TEST_F(MenuMnemonicsTest, RecentFilesWithAnAmpersandMarkNoKey)
{
    const QString path = writeFile(QStringLiteral("Q&A Panel.tlx"), QByteArray());
    const QString other = writeFile(QStringLiteral("A&B Roll.tlx"), QByteArray());
    makeWindow();
    controller->document().recentDocuments().noteNewRecentDocument(path);
    controller->document().recentDocuments().noteNewRecentDocument(other);
    int menusWalked = 0;
    const QStringList found = clashesInTheWindow(menusWalked);
    EXPECT_TRUE(found.isEmpty()) << found.join(QLatin1Char('\n')).toStdString();
    EXPECT_EQ(main.menu->openRecentMenu()->actions().size(), 4); // two files, a separator, Clear Menu
}
