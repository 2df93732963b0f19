#pragma once

#include "dialogs/DocumentPanels.h"
#include "lock/EditingLock.h"
#include "launch/NetworkOutputs.h"
#include "tallymap/RecentDocuments.h"
#include "dialogs/SaveChangesPrompt.h"
#include "tally/TallyCycle.h"
#include "tally/TallyStatus.h"
#include "link/Mixdesk.h"
#include "sources/ShotSource.h"
#include "tallymap/TallyMap.h"

#include <QCheckBox>
#include <QLabel>
#include <QList>
#include <QPointer>
#include <QUrl>
#include <QWidget>

#include <memory>
#include <optional>

class QAbstractButton;
class QAction;
class QPushButton;
class QTimer;
class TallyState;

namespace Ui {
class ViewController;
}

// The main screen: a row of light indicators over a row of assignment
// buttons, the lock check box and the "Mixdesk is not running" warning. It
// owns the current tally map, the latest shot list and the 0.25 s timer of
// the update cycle, and handles the document commands itself.
class ViewController : public QWidget, private TallyCycle::Observer, private EditingLock::Window {
    Q_OBJECT
    Q_PROPERTY(bool enableEditing READ enableEditing WRITE setEnableEditing NOTIFY enableEditingChanged)

public:
    // What the controller works with besides the process-wide objects
    // (Mixdesk::shared(), USBHIDAppDelegate::shared(), the standard user
    // defaults). Left empty, the program's own are made.
    struct Dependencies {
        std::unique_ptr<DocumentPanels> documentPanels;
        std::unique_ptr<RecentDocuments> recentDocuments;
        // Where the shots come from; Mixdesk's query when left empty.
        std::unique_ptr<ShotSource> shotSource;
        std::unique_ptr<SaveChangesPrompt> saveChangesPrompt;
    };

    explicit ViewController(QWidget* parent = nullptr);
    explicit ViewController(Dependencies dependencies, QWidget* parent = nullptr);
    ~ViewController() override;

    // Outlets made by the layout.
    QPointer<QCheckBox> lockTallyCheckBox;
    QPointer<QLabel> mixdeskWarning;

    // The indicators, in light order: element i shows light i + 1.
    QList<QPointer<TallyState>> tallyStateDisplays;
    TallyMap tallyMap;
    // Where the map was loaded from or last saved to; an empty path while
    // there is no file yet.
    QUrl currentDocumentUrl { QStringLiteral("file://") };
    static constexpr double timerInterval = 0.25;
    Mixdesk::ShotList shotList;
    // The repeating update timer; it runs for the life of the controller.
    QPointer<QTimer> timer;

    bool enableEditing() const { return m_enableEditing; }
    void setEnableEditing(bool enabled) override;

    // Titles the assignment buttons (tags 10 to 17) from the tally map.
    void refreshAssignmentTitles() override;
    // Keeps the window above the others while "AlwaysOnTop" is on.
    void applyAlwaysOnTop();
    // Draws the indicators in the large style while "LargeLampLabels" is on,
    // and tall enough for their number, shots and mode's word; in the small
    // LIVE/PREVIEW style otherwise.
    void applyLargeLampLabels();
    bool showsLargeLampLabels() const { return m_largeLampLabels; }
    // The names of the shots assigned to a light, as its lamp shows them.
    QString shotNamesOfLight(qsizetype lightIndex) const;

    // One tick of the update cycle.
    void updateTallyLights();

    // Whether the map has changes not yet saved; the window's title bar
    // shows it.
    bool isDocumentEdited() const { return m_documentEdited; }
    // Asks to save unsaved changes before they would be lost: true when the
    // caller may go on (saved, discarded, or nothing to save), false when
    // the user cancelled or the save did not happen.
    bool canDiscardChanges();

    // The document commands.
    void loadTallyMap(const QUrl& url);
    void saveTallyMap(const std::optional<QUrl>& url);
    std::optional<QUrl> runOpenPanel();
    std::optional<QUrl> runSavePanel();

    // The TallyState children of a view (its direct children only), sorted
    // by identifier as plain strings: "tallyState10" before "tallyState2".
    // An indicator without an identifier stops the process.
    static QList<QPointer<TallyState>> collectTallyStateDisplays(const QWidget& view);

    RecentDocuments& recentDocuments() const { return *m_recentDocuments; }
    // Open Recent ▸ Clear Menu; a list that cannot be stored is reported.
    void clearRecentDocuments();
    ShotSource& shotSource() const { return *m_shotSource; }
    // Follows another switcher from now on (the user chose one). The shots
    // of the old one are forgotten, so the first answer of the new one binds
    // the assignments by name, as after a restart of Mixdesk; the lights
    // keep their state until that answer.
    void setShotSource(std::unique_ptr<ShotSource> source);
    // The update cycle, for outputs that follow the lights (web page, TSL).
    TallyCycle& cycle() { return m_cycle; }
    // The web page and TSL outputs, in the cycle for the controller's life;
    // none until the program starts them.
    NetworkOutputs& networkOutputs() { return m_networkOutputs; }
    const EditingLock& editingLock() const { return m_editingLock; }

    // What the lights do while the source is lost and at quit. The window
    // starts with the saved preferences; choosing stores the choice too.
    const LostSourcePolicy& lostSourcePolicy() const { return m_cycle.lostSourcePolicy(); }
    void setLostSourcePolicy(const LostSourcePolicy& policy);
    void chooseLostSourcePolicy(const LostSourcePolicy& policy);
    // What is wrong now, in words, for the status line.
    TallyStatus& status() { return m_status; }

    // Switches every light off on the box and on screen when the user asked
    // for that at quit; otherwise sends nothing, and the lights stay lit.
    void applicationWillQuit();

    // Segues to the other screens. Every identifier other than
    // passwordSegueIdentifier and testSegueIdentifier opens the shot editor
    // of the light of the sending assignment button.
    static inline const QString passwordSegueIdentifier = QStringLiteral("ShowPasswordModal");
    static inline const QString testSegueIdentifier = QStringLiteral("Test");
    static inline const QString editorSegueIdentifier = QStringLiteral("EditShots");
    bool shouldPerformSegueWithIdentifier(const QString& identifier, QObject* sender) const;
    void prepareForSegue(const QString& identifier, QObject* destination, QObject* sender);

    // Makes the screen a segue leads to: the password dialog, the light test
    // panel or, for any other identifier, the shot editor. A child of the
    // window, deleted when it closes.
    QWidget* makeSegueDestination(const QString& identifier);

public Q_SLOTS:
    void queryMixdeskWithTimer(QTimer* timer);
    void toggleAlwaysOnTopWithSender(QObject* sender);
    void openDocument(QObject* sender);
    void saveDocument(QObject* sender);
    void saveDocumentAs(QObject* sender);
    void toggleLockSelection(QObject* sender);
    // The sender must be the "Require Password to Unlock" menu action.
    void togglePasswordRequirement(QObject* sender);
    void performSegueWithIdentifier(const QString& identifier, QObject* sender);
    // The shot editor and the password dialog come back through here.
    void dismissViewController(QObject* viewController);

Q_SIGNALS:
    void enableEditingChanged(bool enableEditing);
    // A file was opened or saved under a new name: the recent list changed.
    void recentDocumentsChanged();
    // A segue has shown its screen; it is up (and modal where it is meant to
    // be) when this is emitted. The screen runs without blocking the caller,
    // so whoever listens (a test, say) can work it like a user would.
    void viewControllerPresented(const QString& identifier, QWidget* viewController);
    // An indicator was given its mode (by a tick, or the lights-off at
    // quit); shotNames are the light's assigned shots, for larger views.
    void lightModeShown(qsizetype lightIndex, TallyMode mode, const QString& shotNames);

protected:
    void viewDidLoad();
    void viewDidAppear();
    void showEvent(QShowEvent* event) override;

private:
    // TallyCycle::Observer
    void setMixdeskWarningHidden(bool hidden) override;
    qsizetype indicatorCount() const override;
    void showLightMode(qsizetype lightIndex, TallyMode mode) override;

    // EditingLock::Window
    std::optional<bool> lockCheckBoxState() const override;
    void setLockCheckBoxState(bool locked) override;
    void setRequirementMenuItemState(bool on) override;
    void openPasswordDialog() override;

    QList<QAbstractButton*> assignmentButtons() const;
    QPushButton* assignmentButton(qsizetype lightIndex) const;
    void connectControls();
    void showDocument(const QUrl& url);
    // Puts the map on Open Recent; a list that cannot be stored goes on the
    // status line, and the map itself stays opened or saved.
    void noteRecentDocument(const QString& path);
    void present(const QString& identifier, QWidget* destination);
    void passwordDialogDidClose(QObject* dialog);
    void followShotSource();
    void editorDidClose(QObject* editor);
    void noteTickStatus();
    void setDocumentEdited(bool edited);
    void showLampShotNames();

    std::unique_ptr<Ui::ViewController> m_ui;
    std::unique_ptr<DocumentPanels> m_documentPanels;
    std::unique_ptr<RecentDocuments> m_recentDocuments;
    std::unique_ptr<ShotSource> m_shotSource;
    std::unique_ptr<SaveChangesPrompt> m_saveChangesPrompt;
    TallyCycle m_cycle;
    EditingLock m_editingLock;
    TallyStatus m_status;
    // After the cycle, so that the outputs leave it before it goes.
    NetworkOutputs m_networkOutputs;
    bool m_sourceRunning = true;
    bool m_documentEdited = false;
    QPointer<QAction> m_requirementMenuItem;
    bool m_enableEditing = false;
    bool m_inTick = false;
    bool m_largeLampLabels = false;
    // The indicators' heights from the layout, for the small style.
    QList<int> m_smallLampHeights;
};
