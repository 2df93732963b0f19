#include "mainwindow/LostSourceMenu.h"

#include "base/Text.h"
#include "base/UserDefaults.h"
#include "tally/TallyTicker.h"

#include <QAction>
#include <QActionGroup>
#include <QMenu>

namespace {

const char* const blinkSecondsProperty = "blinkSeconds";

} // namespace

LostSourceMenu::LostSourceMenu(QMenu& parentMenu, TallyTicker& ticker)
    : QObject(&parentMenu)
    , m_ticker(ticker)
{
    m_menu = parentMenu.addMenu(tr("When the &Switcher Is Lost"));
    m_group = new QActionGroup(this);
    m_group->setExclusive(true);
    m_keep = addChoice(tr("&Keep the Lights"), LostSourcePolicy::Action::keepLights, 0);
    m_turnOff = addChoice(tr("&Turn the Lights Off"), LostSourcePolicy::Action::turnOff, 0);
    for (const int seconds : blinkDelays) {
        blinkAction(seconds);
    }
    m_menu->addSeparator();
    m_offAtQuit = m_menu->addAction(tr("Turn the Lights Off When Mixdesk Tally &Quits"));
    m_offAtQuit->setCheckable(true);
    connect(m_offAtQuit, &QAction::triggered, this, [this](bool checked) {
        LostSourcePolicy policy = m_ticker.lostSourcePolicy();
        policy.turnOffAtQuit = checked;
        choose(policy);
    });
    // The policy may have changed elsewhere (the command line): the marks
    // are set each time the menu opens.
    connect(m_menu, &QMenu::aboutToShow, this, &LostSourceMenu::showPolicy);
    showPolicy();
}

QAction* LostSourceMenu::addChoice(const QString& text, LostSourcePolicy::Action action, int seconds)
{
    QAction* item = m_menu->addAction(text);
    item->setCheckable(true);
    item->setProperty(blinkSecondsProperty, seconds);
    m_group->addAction(item);
    connect(item, &QAction::triggered, this, [this, action, seconds] { choose(action, seconds); });
    return item;
}

QAction* LostSourceMenu::blinkAction(int seconds)
{
    for (QAction* item : m_group->actions()) {
        if (item != m_keep && item != m_turnOff && item->property(blinkSecondsProperty).toInt() == seconds) {
            return item;
        }
    }
    QAction* item = addChoice(blinkText(seconds), LostSourcePolicy::Action::blink, seconds);
    if (m_offAtQuit) {
        // Made later than the others: kept above the separator all the same.
        m_menu->removeAction(item);
        m_menu->insertAction(m_menu->actions().at(m_menu->actions().indexOf(m_offAtQuit) - 1), item);
    }
    return item;
}

QString LostSourceMenu::blinkText(int seconds) const
{
    // The delays share their words, so each is reached by its number's first
    // digit (Alt+5, Alt+1, Alt+3, Alt+6); a delay from the command line whose
    // digit is taken goes without a key rather than steal one.
    const QString number = QString::number(seconds);
    QList<QChar> taken;
    for (const QAction* item : m_menu->actions()) {
        taken.append(Text::mnemonicsOf(item->text()));
    }
    const QString marked = taken.contains(number.at(0)) ? number : QLatin1Char('&') + number;
    return seconds == 1 ? tr("Blink the Lights After %1 Second").arg(marked)
                        : tr("Blink the Lights After %1 Seconds").arg(marked);
}

void LostSourceMenu::choose(LostSourcePolicy::Action action, int seconds)
{
    LostSourcePolicy policy = m_ticker.lostSourcePolicy();
    policy.action = action;
    if (action == LostSourcePolicy::Action::blink) {
        policy.blinkAfterSeconds = seconds;
    }
    choose(policy);
}

void LostSourceMenu::choose(const LostSourcePolicy& policy)
{
    m_ticker.setLostSourcePolicy(policy);
    policy.storeIn(UserDefaults::standardUserDefaults());
    showPolicy();
}

void LostSourceMenu::showPolicy()
{
    const LostSourcePolicy& policy = m_ticker.lostSourcePolicy();
    switch (policy.action) {
    case LostSourcePolicy::Action::keepLights:
        m_keep->setChecked(true);
        break;
    case LostSourcePolicy::Action::turnOff:
        m_turnOff->setChecked(true);
        break;
    case LostSourcePolicy::Action::blink:
        blinkAction(policy.blinkAfterSeconds)->setChecked(true);
        break;
    }
    m_offAtQuit->setChecked(policy.turnOffAtQuit);
}
