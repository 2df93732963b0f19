#pragma once

#include "lock/PasswordMode.h"

#include <QDialog>
#include <QLabel>
#include <QLineEdit>
#include <QPointer>

#include <memory>

namespace Ui {
class PasswordViewController;
}

// The editing lock's password dialog. In set mode it asks for a new unlock
// password twice and hands back its digest in passwordHash; in collect mode it
// asks once and reports in passwordMatched whether the entry's digest equals
// matchPassword. It never sees a stored password, only digests.
//
// The presenter sets mode (and matchPassword for collect), calls
// updateFieldVisibility, shows the dialog and reads the fields back when the
// dialog hands itself to the presenter's dismissViewController(QObject*)
// slot. Closing the dialog is the presenter's job there (done(), close(),
// reject() or hide(); deleteLater() rather than delete). Escape and the
// window's close button are Cancel and go through the presenter too.
class PasswordViewController : public QDialog {
    Q_OBJECT

public:
    using Mode = PasswordMode;

    explicit PasswordViewController(QWidget* parent = nullptr);
    ~PasswordViewController() override;

    // Outlets made by the layout; a slot stays empty if the layout lacks it
    // or the widget has gone.
    QPointer<QLabel> confirmLabel;
    QPointer<QLineEdit> primary;
    QPointer<QLineEdit> confirm;
    QPointer<QLabel> errorLabel;

    // Result of set: the digest of the accepted new password; stays empty
    // when the dialog is cancelled.
    QString passwordHash;
    // Input of collect: the digest an entry must reproduce.
    QString matchPassword;
    // Result of collect; stays false when the dialog is cancelled.
    bool passwordMatched = false;
    Mode mode = Mode::set;

    // The object whose dismissViewController(QObject*) slot takes the dialog
    // back. Without one, accepting and cancelling leave the dialog up.
    void setPresentingViewController(QObject* presenter);
    QObject* presentingViewController() const;

    // Shows the confirmation field and its caption in set mode only.
    // Outlets that are not loaded are skipped.
    void updateFieldVisibility();

public Q_SLOTS:
    void acceptInputWithSender(QObject* sender);
    void cancelInputWithSender(QObject* sender);

    // Escape counts as Cancel.
    void reject() override;

protected:
    void closeEvent(QCloseEvent* event) override;

private:
    void viewDidLoad();
    void showError(const QString& message);
    // Hands the dialog to the presenter; false when there is none.
    bool dismiss();

    std::unique_ptr<Ui::PasswordViewController> m_ui;
    QPointer<QLabel> m_captionLabel;
    QPointer<QObject> m_presentingViewController;
    bool m_dismissing = false;
};
