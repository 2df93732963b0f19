#pragma once

#include "dialogs/DocumentPanels.h"
#include "dialogs/SaveChangesPrompt.h"
#include "hardware/BoxWriter.h"
#include "launch/NetworkOutputs.h"
#include "link/Mixdesk.h"
#include "mainwindow/EditingLockControls.h"
#include "mainwindow/LampRow.h"
#include "mainwindow/Segues.h"
#include "mainwindow/SourceWarning.h"
#include "mainwindow/WindowLightReport.h"
#include "sources/ObsPasswordKeeper.h"
#include "sources/ShotSource.h"
#include "tally/TallyCycle.h"
#include "tally/TallyStatus.h"
#include "tally/TallyTicker.h"
#include "tallymap/RecentDocuments.h"
#include "tallymap/TallyDocument.h"

#include <QCheckBox>
#include <QLabel>
#include <QPointer>
#include <QWidget>

#include <memory>
#include <optional>

class DocumentCommands;
class SourceReport;
class QTimer;
class TallyState;

namespace Ui {
class ViewController;
}

// The main screen: a row of light indicators over a row of assignment
// buttons, the lock check box and the "Mixdesk is not running" warning. It
// builds the parts that do the work and connects them: the document (the
// map and its file), the tick loop, the lamp row, the source warning, the
// document commands, the editing lock's controls and the segues to the
// other screens. Its actions are the ones the menus and the layout send,
// each handed to the part whose job it is.
class ViewController : public QWidget, private TallyCycle::Observer {
    Q_OBJECT
    Q_PROPERTY(bool enableEditing READ enableEditing WRITE setEnableEditing NOTIFY enableEditingChanged)

public:
    // What the controller works with besides the process-wide objects
    // (Mixdesk::shared(), USBHIDAppDelegate::shared(), the standard user
    // defaults). Left empty, the program's own are made. The tick loop and
    // the test panel are given the tally box through tallyBox().
    struct Dependencies {
        std::unique_ptr<DocumentPanels> documentPanels;
        std::unique_ptr<RecentDocuments> recentDocuments;
        // Where the shots come from; Mixdesk's query when left empty.
        std::unique_ptr<ShotSource> shotSource;
        std::unique_ptr<SaveChangesPrompt> saveChangesPrompt;
        // Where the OBS password is kept; a file only the user can read,
        // beside the settings file, when left empty.
        std::unique_ptr<SecretStore> secretStore;
        // Whether the tally box is written on a thread of its own (so that a
        // slow box never holds up the window) or at once, inside the tick,
        // for a test that reads the device right after one.
        BoxWriter::Threading boxWriting = BoxWriter::Threading::ownThread;
    };

    static constexpr double timerInterval = 0.25;
    static inline const QString& passwordSegueIdentifier = Segues::passwordSegueIdentifier;
    static inline const QString& testSegueIdentifier = Segues::testSegueIdentifier;
    static inline const QString& editorSegueIdentifier = Segues::editorSegueIdentifier;

    explicit ViewController(QWidget* parent = nullptr);
    explicit ViewController(Dependencies dependencies, QWidget* parent = nullptr);
    ~ViewController() override;

    // Outlets made by the layout.
    QCheckBox* lockTallyCheckBox() const { return m_lockControls->lockTallyCheckBox(); }
    QLabel* mixdeskWarning() const { return m_warning->label(); }

    // The parts.
    TallyDocument& document() { return m_document; }
    const TallyDocument& document() const { return m_document; }
    TallyTicker& ticker() { return m_ticker; }
    LampRow& lampRow() const { return *m_lampRow; }
    DocumentCommands& documentCommands() const { return *m_documentCommands; }
    Segues& segues() const { return *m_segues; }
    const EditingLock& editingLock() const { return m_lockControls->editingLock(); }
    // The web page and TSL outputs, in the cycle for the controller's life;
    // none until the program starts them.
    NetworkOutputs& networkOutputs() { return m_networkOutputs; }
    // The password of the OBS source the window remembers.
    ObsPasswordKeeper& obsPassword() { return m_obsPassword; }
    // What the window follows and how that is, and the outputs that run,
    // in words, for the status line; brought up to date after every tick.
    SourceReport& sourceReport() const { return *m_sourceReport; }
    // The window's reading of the light report (lamp marks, missing shots).
    WindowLightReport& lightReport() const { return *m_lightReport; }
    // What is wrong now, in words, for the status line.
    TallyStatus& status() { return m_status; }

    // What the main screen has always been asked for by name.
    const QList<QPointer<TallyState>>& tallyStateDisplays() const { return m_lampRow->tallyStateDisplays(); }
    const TallyMap& tallyMap() const { return m_document.tallyMap(); }
    const QUrl& currentDocumentUrl() const { return m_document.currentDocumentUrl(); }
    const ShotList& shotList() const { return m_ticker.shotList(); }
    QTimer* timer() const { return m_ticker.timer(); }
    ShotSource& shotSource() const { return m_ticker.source(); }

    bool enableEditing() const { return m_enableEditing; }
    void setEnableEditing(bool enabled) override;
    // Titles the assignment buttons (tags 10 to 17) from the tally map.
    void refreshAssignmentTitles() override;
    // Keeps the window above the others while "AlwaysOnTop" is on.
    void applyAlwaysOnTop();
    // Draws the lamps in the large style while "LargeLampLabels" is on.
    void applyLargeLampLabels();
    // Marks the lamps while the source is lost when
    // "MarkLampsWhileSourceIsLost" is on.
    void applyMarkLampsWhileSourceIsLost();
    // Takes an absent tally box for the studio's choice while "NoTallyBox"
    // is on: no warning, and the status line says where the lights go.
    void applyNoTallyBox();
    // Tracks unsaved changes (the title's marker, the question before Open
    // and Quit) while "AskBeforeDiscardingChanges" is on.
    void applyAskBeforeDiscardingChanges();
    // One tick of the update cycle, unguarded.
    void updateTallyLights();
    // The writer of the tally box, made on first use over
    // USBHIDAppDelegate::shared(), which starts device discovery.
    BoxWriter& tallyBox();

    // The document commands.
    void loadTallyMap(const QUrl& url);
    void saveTallyMap(const std::optional<QUrl>& url);

    // Follows another switcher from now on (the user chose one).
    void setShotSource(std::unique_ptr<ShotSource> source);
    // Follows what rebuild makes of the source followed now, keeping what
    // it keeps of it running (see TallyTicker::rebuildSource).
    void rebuildShotSource(const TallyTicker::Rebuild& rebuild);

    // Segues to the other screens.
    bool shouldPerformSegueWithIdentifier(const QString& identifier, QObject* sender) const;
    void prepareForSegue(const QString& identifier, QObject* destination, QObject* sender);

public Q_SLOTS:
    void queryMixdeskWithTimer(QTimer* timer);
    void toggleAlwaysOnTopWithSender(QObject* sender);
    void newDocument(QObject* sender);
    void openDocument(QObject* sender);
    void saveDocument(QObject* sender);
    void saveDocumentAs(QObject* sender);
    void toggleLockSelection(QObject* sender);
    // The sender must be the "Require Password to Unlock" menu action.
    void togglePasswordRequirement(QObject* sender);
    void performSegueWithIdentifier(const QString& identifier, QObject* sender);
    // The shot editor and the password dialog come back through here.
    void dismissViewController(QObject* viewController);
    // Switches every light off on the box and on screen when the user asked
    // for that at quit; otherwise sends nothing, and the lights stay lit.
    void applicationWillQuit();

Q_SIGNALS:
    void enableEditingChanged(bool enableEditing);
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

    void connectParts();
    void followTestPanel(const QString& identifier, QWidget* viewController);
    void connectControls();
    void followShotSource();

    std::unique_ptr<Ui::ViewController> m_ui;
    TallyDocument m_document;
    const BoxWriter::Threading m_boxWriting;
    // Before the tick loop and the test panel's sender, so that it outlives
    // them and writes what they handed in last.
    std::unique_ptr<BoxWriter> m_boxWriter;
    TallyTicker m_ticker;
    TallyStatus m_status;
    // After the tick loop, so that the outputs leave its cycle before it goes.
    NetworkOutputs m_networkOutputs;
    std::unique_ptr<SourceWarning> m_warning;
    std::unique_ptr<LampRow> m_lampRow;
    std::unique_ptr<DocumentCommands> m_documentCommands;
    std::unique_ptr<EditingLockControls> m_lockControls;
    std::unique_ptr<Segues> m_segues;
    std::unique_ptr<SourceReport> m_sourceReport;
    std::unique_ptr<WindowLightReport> m_lightReport;
    ObsPasswordKeeper m_obsPassword;
    bool m_enableEditing = false;
};
