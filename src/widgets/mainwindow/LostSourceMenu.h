#pragma once

#include "tally/LostSourcePolicy.h"

#include <QObject>
#include <QPointer>

class QAction;
class QActionGroup;
class QMenu;
class TallyTicker;

// The lights' fail-safe choices, in a submenu of the Edit menu: what the
// tally box does while the switcher is lost (keep the lights, turn them off,
// blink them after a few seconds) and whether the lights go out at quit.
// Each choice takes effect at once and is saved.
class LostSourceMenu : public QObject {
    Q_OBJECT

public:
    LostSourceMenu(QMenu& parentMenu, TallyTicker& ticker);

    QMenu* menu() const { return m_menu; }
    QAction* keepLightsAction() const { return m_keep; }
    QAction* turnOffAction() const { return m_turnOff; }
    // The blink choice for a delay, made when missing (a delay given on the
    // command line may be none of the usual ones).
    QAction* blinkAction(int seconds);
    QAction* lightsOffAtQuitAction() const { return m_offAtQuit; }

    // Ticks the items that match the ticker's policy.
    void showPolicy();
    // The policy for the ticker from now on, saved for the next start and
    // ticked in the menu, as if chosen there.
    void choose(const LostSourcePolicy& policy);

    static constexpr int blinkDelays[] = { 5, 10, 30, 60 };

private:
    QAction* addChoice(const QString& text, const LostSourcePolicy::Action action, int seconds);
    void choose(LostSourcePolicy::Action action, int seconds);
    // The blink item's text, its number's first digit its key when free.
    QString blinkText(int seconds) const;

    TallyTicker& m_ticker;
    QPointer<QMenu> m_menu;
    QPointer<QActionGroup> m_group;
    QPointer<QAction> m_keep;
    QPointer<QAction> m_turnOff;
    QPointer<QAction> m_offAtQuit;
};
