#pragma once

#include "hardware/TestSequenceRunner.h"
#include "model/Shot.h"
#include "sources/ShotSource.h"

#include <QObject>
#include <QString>

#include <functional>

class EditingLockControls;
class TallyDocument;
class QWidget;

// The ways from the main screen to its other screens, each named by an
// identifier: the password dialog ("ShowPasswordModal"), the light test
// panel ("Test") and, for any other identifier, the shot editor of the
// light whose assignment button asked for it. A segue is asked whether it
// may go (shouldPerformSegueWithIdentifier), makes its screen, prepares it
// (prepareForSegue) and presents it. The editor and the password dialog come
// back through dismissViewController; the test panel closes on its own.
class Segues : public QObject {
    Q_OBJECT

public:
    static inline const QString passwordSegueIdentifier = QStringLiteral("ShowPasswordModal");
    static inline const QString testSegueIdentifier = QStringLiteral("Test");
    static inline const QString editorSegueIdentifier = QStringLiteral("EditShots");

    // The shots known now, which the editor lists.
    using KnownShots = std::function<const ShotList&()>;
    // The kind of source the lights follow now, whose options the editor
    // offers.
    using SourceKind = std::function<ShotSource::Kind()>;

    // presenter: the main screen, whose dismissViewController(QObject*)
    // slot the password dialog hands itself back to. The test panel hands
    // its bytes to sendToBox.
    Segues(QWidget& presenter, TallyDocument& document, EditingLockControls& lock, KnownShots knownShots,
        SourceKind sourceKind, TestSequenceRunner::SendFunction sendToBox, QObject* parent = nullptr);

    bool shouldPerformSegueWithIdentifier(const QString& identifier, QObject* sender) const;
    void performSegueWithIdentifier(const QString& identifier, QObject* sender);
    // A child of the window, deleted when it closes.
    QWidget* makeSegueDestination(const QString& identifier);
    void prepareForSegue(const QString& identifier, QObject* destination, QObject* sender);
    void dismissViewController(QObject* viewController);

Q_SIGNALS:
    // A segue has shown its screen; it is up (and modal where it is meant to
    // be) when this is emitted. The screen runs without blocking the caller,
    // so whoever listens (a test, say) can work it like a user would.
    void viewControllerPresented(const QString& identifier, QWidget* viewController);

private:
    void present(const QString& identifier, QWidget* destination);
    void preparePasswordDialog(QObject* destination);
    void prepareEditor(QObject* destination, QObject* sender);
    void passwordDialogDidClose(QObject* dialog);
    void editorDidClose(QObject* editor);
    QWidget* window() const;

    QWidget& m_presenter;
    TallyDocument& m_document;
    EditingLockControls& m_lock;
    KnownShots m_knownShots;
    SourceKind m_sourceKind;
    TestSequenceRunner::SendFunction m_sendToBox;
};
