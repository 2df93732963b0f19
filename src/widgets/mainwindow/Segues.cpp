#include "mainwindow/Segues.h"

#include "base/FatalError.h"
#include "dialogs/EditViewController.h"
#include "dialogs/PasswordViewController.h"
#include "dialogs/TestViewController.h"
#include "mainwindow/EditingLockControls.h"
#include "mainwindow/LampRow.h"
#include "tallymap/TallyDocument.h"

#include <QAbstractButton>

Segues::Segues(QWidget& presenter, TallyDocument& document, EditingLockControls& lock, KnownShots knownShots,
    SourceKind sourceKind, TestSequenceRunner::SendFunction sendToBox, QObject* parent)
    : QObject(parent)
    , m_presenter(presenter)
    , m_document(document)
    , m_lock(lock)
    , m_knownShots(std::move(knownShots))
    , m_sourceKind(std::move(sourceKind))
    , m_sendToBox(std::move(sendToBox))
{
}

QWidget* Segues::window() const
{
    return m_presenter.window();
}

bool Segues::shouldPerformSegueWithIdentifier(const QString& identifier, QObject* /*sender*/) const
{
    if (identifier == passwordSegueIdentifier || identifier == testSegueIdentifier) {
        return true;
    }
    // The editor stays shut while editing is locked.
    return !m_lock.isEditingLocked();
}

void Segues::performSegueWithIdentifier(const QString& identifier, QObject* sender)
{
    if (!shouldPerformSegueWithIdentifier(identifier, sender)) {
        return;
    }
    QWidget* destination = makeSegueDestination(identifier);
    prepareForSegue(identifier, destination, sender);
    present(identifier, destination);
}

QWidget* Segues::makeSegueDestination(const QString& identifier)
{
    QWidget* destination = nullptr;
    if (identifier == passwordSegueIdentifier) {
        auto* dialog = new PasswordViewController(window());
        dialog->setPresentingViewController(&m_presenter);
        destination = dialog;
    } else if (identifier == testSegueIdentifier) {
        // Closes itself; it never comes back through dismissViewController.
        destination = new TestViewController(m_sendToBox, window());
    } else {
        auto* editor = new EditViewController(window());
        editor->setPresentingViewController([this](QObject* viewController) { dismissViewController(viewController); });
        destination = editor;
    }
    destination->setAttribute(Qt::WA_DeleteOnClose);
    return destination;
}

void Segues::present(const QString& identifier, QWidget* destination)
{
    // The password dialog and the test panel are application-modal: the
    // update tick waits while they are up, so their bytes and the tick's never
    // mix, and the test chase only steps then. The editor is a window-modal
    // sheet over the main window, and the lights go on following Mixdesk
    // while shots are ticked. None of them blocks here: show() (not exec(),
    // and not open(), which would make every dialog window-modal) keeps the
    // one event loop running.
    if (identifier == passwordSegueIdentifier || identifier == testSegueIdentifier) {
        destination->setWindowModality(Qt::ApplicationModal);
    } else {
        destination->setWindowModality(Qt::WindowModal);
    }
    destination->show();
    destination->raise();
    destination->activateWindow();
    Q_EMIT viewControllerPresented(identifier, destination);
}

void Segues::prepareForSegue(const QString& identifier, QObject* destination, QObject* sender)
{
    if (identifier == passwordSegueIdentifier) {
        preparePasswordDialog(destination);
    } else if (identifier != testSegueIdentifier) { // the test panel needs nothing from the main screen
        prepareEditor(destination, sender);
    }
}

void Segues::preparePasswordDialog(QObject* destination)
{
    auto* dialog = qobject_cast<PasswordViewController*>(destination);
    if (dialog == nullptr) {
        fatalError(QStringLiteral("the password segue leads to something other than the password dialog"));
    }
    const EditingLock::DialogSetup setup = m_lock.editingLock().preparePasswordDialog();
    dialog->mode = setup.mode;
    dialog->updateFieldVisibility();
    if (setup.matchPassword) {
        dialog->matchPassword = *setup.matchPassword;
    }
}

void Segues::prepareEditor(QObject* destination, QObject* sender)
{
    auto* button = qobject_cast<QAbstractButton*>(sender);
    const std::optional<int> lightIndex = button ? LampRow::lightIndexOfButton(button) : std::nullopt;
    if (!lightIndex) {
        fatalError(QStringLiteral("the shot editor was asked for by something other than an assignment button"));
    }
    auto* editor = qobject_cast<EditViewController*>(destination);
    if (editor == nullptr) {
        fatalError(QStringLiteral("the editor segue leads to something other than the shot editor"));
    }
    const TallyMap& tallyMap = m_document.tallyMap();
    if (*lightIndex < 0 || *lightIndex >= tallyMap.shotSelections().size()) {
        fatalError(QStringLiteral("the button tagged %1 stands for light index %2, outside the tally map's %3 lights")
                       .arg(*lightIndex + LampRow::firstAssignmentTag)
                       .arg(*lightIndex)
                       .arg(tallyMap.shotSelections().size()));
    }
    editor->setOptions(ShotEditorOptions::forSource(m_sourceKind()));
    editor->setRepresentedObject({ m_knownShots(), tallyMap.shotSelection(*lightIndex) });
    editor->lightIndex = *lightIndex;
    editor->setWindowTitle(EditViewController::titleForLight(*lightIndex));
}

void Segues::dismissViewController(QObject* viewController)
{
    if (viewController == nullptr) {
        fatalError(QStringLiteral("dismissViewController was given no view controller"));
    }
    if (auto* widget = qobject_cast<QWidget*>(viewController)) {
        widget->close();
    }
    if (QString::fromLatin1(viewController->metaObject()->className())
            .contains(QLatin1String("PasswordViewController"))) {
        passwordDialogDidClose(viewController);
        return;
    }
    editorDidClose(viewController);
}

void Segues::passwordDialogDidClose(QObject* dialogObject)
{
    auto* dialog = qobject_cast<PasswordViewController*>(dialogObject);
    if (dialog == nullptr) {
        fatalError(QStringLiteral("a dismissed password dialog is not a PasswordViewController"));
    }
    m_lock.editingLock().passwordDialogDidClose(dialog->mode, dialog->passwordMatched, dialog->passwordHash);
}

void Segues::editorDidClose(QObject* editorObject)
{
    auto* editor = qobject_cast<EditViewController*>(editorObject);
    if (editor == nullptr) {
        fatalError(QStringLiteral("%1 was dismissed as if it were the shot editor")
                       .arg(QString::fromLatin1(editorObject->metaObject()->className())));
    }
    const QList<ShotList> lists = editor->representedObject();
    if (lists.size() < 2) {
        fatalError(QStringLiteral("the shot editor came back with %1 lists instead of two").arg(lists.size()));
    }
    const qsizetype lightCount = m_document.tallyMap().shotSelections().size();
    if (editor->lightIndex < 0 || editor->lightIndex >= lightCount) {
        fatalError(QStringLiteral("the shot editor came back for light index %1, outside the tally map's %2 lights")
                       .arg(editor->lightIndex)
                       .arg(lightCount));
    }
    m_document.assign(editor->lightIndex, lists.at(1));
}
