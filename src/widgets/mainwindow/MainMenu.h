#pragma once

#include "dialogs/PhoneLinksDialog.h"
#include "lamps/BigTallyView.h"
#include "launch/HandOverRequest.h"
#include "launch/NetworkOutputChoices.h"
#include "launch/RunOptions.h"
#include "mainwindow/LostSourceMenu.h"
#include "sources/ShotSource.h"

#include <QAction>
#include <QMenu>
#include <QMenuBar>
#include <QObject>
#include <QPointer>

#include <functional>
#include <memory>
#include <optional>
#include <vector>

class QDialog;
class SenderAllowList;
class ShotSource;
class TslShotSource;
class ViewController;

// The main window's menu bar: File (Open, Open Recent, Save, Save As, Quit),
// Edit (Lock Editing, Require Password to Unlock, Ask Before Discarding
// Changes, Cancel in Shot Editor, Test Lights, When the Switcher Is Lost),
// View (Always on Top, Large Lamp Labels, Big Tally, Phone Links), Source
// (Mixdesk, OBS Studio…, TSL UMD Listener…,
// Blackmagic ATEM…), Outputs (Network Outputs…, No Tally Box) and Help (Mixdesk Tally Help,
// About). The
// commands go to the main screen controller; Open Recent is rebuilt from the
// recent documents each time it opens.
class MainMenu : public QObject {
    Q_OBJECT

public:
    MainMenu(QMenuBar& menuBar, ViewController& controller);

    QMenu* fileMenu() const { return m_fileMenu; }
    QMenu* openRecentMenu() const { return m_openRecentMenu; }
    // The editing lock's commands and the light test panel.
    QMenu* editMenu() const { return m_editMenu; }
    QMenu* viewMenu() const { return m_viewMenu; }
    QAction* alwaysOnTopAction() const { return m_alwaysOnTop; }
    // View > Large Lamp Labels: the window's lamps in the large style.
    QAction* largeLampLabelsAction() const { return m_largeLampLabels; }
    // View > Big Tally (F11): the lights full screen.
    QAction* bigTallyAction() const { return m_bigTally; }
    QAction* markLampsWhileLostAction() const { return m_markLampsWhileLost; }
    BigTallyView* bigTallyView() const { return m_bigTallyView; }
    // View > Phone Links…: the web page's addresses with their QR codes.
    QAction* phoneLinksAction() const { return m_phoneLinks; }
    PhoneLinksDialog* phoneLinksDialog() const { return m_phoneLinksDialog; }
    QAction* requirePasswordAction() const { return m_requirePassword; }
    QAction* lockEditingAction() const { return m_lockEditing; }
    QAction* testLightsAction() const { return m_testLights; }
    // Edit > Ask Before Discarding Changes: the unsaved-changes marker and
    // the question before Open and Quit, together.
    QAction* askBeforeDiscardingChangesAction() const { return m_askBeforeDiscarding; }
    // Edit > Cancel in Shot Editor: Cancel and Escape undo the editor's ticks.
    QAction* shotEditorCancelAction() const { return m_shotEditorCancel; }
    QMenu* sourceMenu() const { return m_sourceMenu; }
    QAction* mixdeskSourceAction() const { return m_mixdeskSource; }
    QAction* obsSourceAction() const { return m_obsSource; }
    QAction* tslSourceAction() const { return m_tslSource; }
    QAction* atemSourceAction() const { return m_atemSource; }
    QAction* vmixSourceAction() const { return m_vmixSource; }

    // Follow Mixdesk, or OBS Studio at address ("obs://HOST:PORT") with
    // password, from now on and at the next start (unless the command line
    // chooses otherwise). False, with the reason, for an unusable address.
    void chooseMixdeskSource();
    bool chooseObsSource(const QString& address, const QString& password, QString* problem = nullptr);
    // Listen for TSL UMD at address ("tsl5://PORT", "tsl+tcp://ADDRESS:PORT")
    // from the allowed senders (none: every sender), from now on and at the
    // next start. False, with the reason and the current source left alone,
    // for an unusable address or a port that cannot be had.
    // silenceSeconds: how long a sender may be silent before it counts as
    // gone (0: no limit; nothing: the default, which follows the allowed
    // senders), remembered too.
    bool chooseTslSource(const QString& address, const QStringList& allowedSenders, QString* problem = nullptr,
        std::optional<int> silenceSeconds = std::nullopt);
    // The TSL silence the settings remember, in seconds (0: no limit);
    // nothing for the default. The next start reads it too.
    static std::optional<int> rememberedTslSilence();
    // Follow the ATEM switcher at address ("atem://HOST:PORT") from now on
    // and at the next start. False, with the reason, for an unusable
    // address.
    bool chooseAtemSource(const QString& address, QString* problem = nullptr);
    // Follow vMix at address ("vmix://HOST:PORT") from now on and at the
    // next start. False, with the reason, for an unusable address.
    bool chooseVmixSource(const QString& address, QString* problem = nullptr);
    LostSourceMenu* lostSourceMenu() const { return m_lostSourceMenu; }
    // Source > Add Switcher (a switcher of any kind followed besides the
    // source chosen above) and Source > Remove Switcher (one item per added
    // one). A switcher followed before and after a change goes on running as
    // it was: a listener keeps its port, a connection stays up.
    QMenu* addSourceMenu() const { return m_addSourceMenu; }
    QMenu* removeSourceMenu() const { return m_removeSourceMenu; }
    // Follows the switcher at address ("atem://HOST:PORT", "vmix://…", or
    // "LABEL=ADDRESS") besides those followed now, from now on and at the
    // next start. False, with the reason and nothing changed, for an unusable
    // address, one already added, or a label two switchers would share.
    bool addSource(const QString& address, QString* problem = nullptr);
    // Adds OBS Studio at address with its password, which goes to the
    // secret store like the chosen OBS Studio's (one password is kept for
    // every OBS Studio followed); the switcher has it at once.
    bool addObsSource(const QString& address, const QString& password, QString* problem = nullptr);
    // Adds a TSL listener; the senders and silence become those remembered
    // for every TSL listener followed, as --tsl-allow and --tsl-silence are
    // for every TSL source on the command line.
    bool addTslSource(const QString& address, const QStringList& allowedSenders, QString* problem = nullptr,
        std::optional<int> silenceSeconds = std::nullopt);
    // Stops following an added switcher, now and at the next start. False,
    // with the reason, when it was not added.
    bool removeSource(const QString& address, QString* problem = nullptr);
    // The switchers added, as the settings keep them.
    static QStringList addedSources();
    QMenu* outputsMenu() const { return m_outputsMenu; }
    QAction* networkOutputsAction() const { return m_networkOutputs; }
    // Outputs > No Tally Box: the studio lights only phones, TSL or MQTT.
    QAction* noTallyBoxAction() const { return m_noTallyBox; }

    // Runs the web page and TSL outputs the choices ask for, from now on and
    // at the next start (unless the command line chooses otherwise). False,
    // with the problem and the running outputs left alone, when they cannot
    // run.
    bool chooseNetworkOutputs(const NetworkOutputChoices& choices, QString* problem);

    // What a later launch handed over, chosen as through this menu: the
    // source, then the network outputs, then the lights' fail-safe choices,
    // each remembered for the next start. The first that cannot be had
    // stops the rest (those before it stay chosen): false, with the reason.
    bool takeHandOver(const HandOverRequest& request, QString* problem);
    QMenu* helpMenu() const { return m_helpMenu; }
    QAction* aboutAction() const { return m_about; }
    // Help > Mixdesk Tally Help (F1): the installed manual, opened by the
    // desktop's viewer; a box saying where it was looked for when it is not
    // installed.
    QAction* helpAction() const { return m_help; }
    // Where Help looks for the manual: the installed places by default.
    void setManualFolders(const QStringList& folders) { m_manualFolders = folders; }

    // The About box's text: the program's name, version and purpose.
    static QString aboutText();

    // Fills Open Recent from the list: missing files disabled, then Clear.
    void rebuildOpenRecentMenu();

private:
    void buildFileMenu(QMenuBar& menuBar);
    void buildEditMenu(QMenuBar& menuBar);
    void buildViewMenu(QMenuBar& menuBar);
    void buildSourceMenu(QMenuBar& menuBar);
    void askForObsSource();
    void askForTslSource();
    bool startInPlaceOfCurrentListener(TslShotSource& source, QString* problem);
    void showObsSourceDialog(const QString& password);
    void askForAtemSource();
    void askForVmixSource();
    void buildAddedSourceItems();
    void fillRemoveSourceMenu();
    void askForAddedSource(ShotSource::Kind kind);
    // Follows the chosen source and the added ones, as the settings now say;
    // false, with the reason and what runs left alone, when one cannot be
    // had.
    bool followWithAdded(const QStringList& added, QString* problem);
    // One switcher to follow: the options that make it (its address alone
    // as the source), the label it goes by (empty: its kind's), and the
    // source already made when one was just chosen.
    struct Wanted {
        RunOptions options;
        QString label;
        std::unique_ptr<ShotSource> made;
    };
    // Follows the switchers wanted, the first being the chosen source: one
    // followed now at the same address goes on running as it is, the others
    // are made, and those no longer wanted stop. An OBS Studio made without
    // a password gets the kept one. False, with the reason and what runs
    // left alone, when one cannot be made or two labels would be the same;
    // with leaveOutUnusable, added ones that cannot be had are left out
    // instead (the reason still in problem).
    bool followSwitchers(std::vector<Wanted> wanted, bool leaveOutUnusable, QString* problem);
    // The options the settings give the switcher at address, as the next
    // start would make it.
    static RunOptions rememberedOptionsFor(const QString& address);
    static void rememberTslChoices(const SenderAllowList& allowed, std::optional<int> silenceSeconds);
    void givePasswordToWaitingObs();
    bool followsObsStudio() const;
    // The source the settings remember, as the source dialogs start from it.
    static QString rememberedSource();
    // The OBS dialog starts from the OBS Studio the window follows (chosen
    // on the command line, perhaps), else from the remembered source.
    QString obsAddressToOffer() const;
    // Runs a source dialog over the window; when it is accepted, choose takes
    // its choice. A choice not made, or refused, leaves the Source menu
    // ticking the source followed; a refused one is said in a box titled
    // title.
    void runSourceDialog(QDialog& dialog, const QString& title, const std::function<bool(QString*)>& choose);
    // Follows source from now on and remembers it for the next start as
    // remembered; the OBS password is forgotten unless the source is OBS.
    void followAndRemember(std::unique_ptr<ShotSource> source, const QString& remembered);
    // Where phones open the running page, for the current map's lights.
    QList<PhoneLink> phoneLinks() const;
    void checkCurrentSource();
    void buildOutputsMenu(QMenuBar& menuBar);
    void askForNetworkOutputs();
    // The phone links brought up to date after the outputs were chosen, and
    // shown when a page has just been turned on.
    void showOutputsChosen(bool pageWasServed);
    // The handed source and the switchers handed with it, which replace
    // those added in the window. False, with the reason, when one cannot be
    // had: nothing changes when an address is bad, while an added switcher
    // that cannot start (its port taken) is left out and the rest followed.
    bool chooseHandedSources(const HandOverRequest::Source& source, QString* problem);
    bool chooseHandedSource(const HandOverRequest::Source& source, QString* problem);
    void buildHelpMenu(QMenuBar& menuBar);
    void openManual();
    void addLockEditingItem();
    void addTestLightsItem();
    void addEditingComfortItems();
    // A checkable item that shows and stores a boolean preference, then
    // runs applied.
    QAction* addPreferenceItem(QMenu& menu, const QString& text, const QString& key, std::function<void()> applied);
    // The item stores the preference itself, then tells the controller.
    void alwaysOnTopToggled(bool checked);
    void largeLampLabelsToggled(bool on);
    void bigTallyToggled(bool on);
    void showPhoneLinks();

    ViewController& m_controller;
    QPointer<QMenu> m_fileMenu;
    QPointer<QMenu> m_openRecentMenu;
    QPointer<QMenu> m_editMenu;
    QPointer<QMenu> m_viewMenu;
    QPointer<QAction> m_alwaysOnTop;
    QPointer<QAction> m_largeLampLabels;
    QPointer<QAction> m_bigTally;
    QPointer<QAction> m_markLampsWhileLost;
    QPointer<BigTallyView> m_bigTallyView;
    QPointer<QAction> m_phoneLinks;
    QPointer<PhoneLinksDialog> m_phoneLinksDialog;
    QPointer<QAction> m_requirePassword;
    QPointer<QAction> m_lockEditing;
    QPointer<QAction> m_testLights;
    QPointer<QAction> m_askBeforeDiscarding;
    QPointer<QAction> m_shotEditorCancel;
    QPointer<QMenu> m_sourceMenu;
    QPointer<QAction> m_mixdeskSource;
    QPointer<QAction> m_obsSource;
    QPointer<QAction> m_tslSource;
    QPointer<QAction> m_atemSource;
    QPointer<QAction> m_vmixSource;
    QPointer<LostSourceMenu> m_lostSourceMenu;
    QPointer<QMenu> m_addSourceMenu;
    QPointer<QMenu> m_removeSourceMenu;
    QPointer<QMenu> m_outputsMenu;
    QPointer<QAction> m_networkOutputs;
    QPointer<QAction> m_noTallyBox;
    QPointer<QMenu> m_helpMenu;
    QPointer<QAction> m_about;
    QPointer<QAction> m_help;
    QStringList m_manualFolders;
    // Why the last change of source left an added switcher out; empty when
    // every one is followed.
    QString m_leftOut;
};
