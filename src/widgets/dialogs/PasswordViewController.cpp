#include "dialogs/PasswordViewController.h"

#include "base/FatalError.h"
#include "lock/PasswordCheck.h"
#include "ui_PasswordViewController.h"

#include <QCloseEvent>
#include <QPushButton>

namespace {

QString captionFor(PasswordMode mode)
{
    if (mode == PasswordMode::collect) {
        return QObject::tr("Enter the password that unlocks editing.");
    }
    return QObject::tr("Choose a password for unlocking editing and type it again to confirm it.");
}

} // namespace

PasswordViewController::PasswordViewController(QWidget* parent)
    : QDialog(parent)
    , m_ui(std::make_unique<Ui::PasswordViewController>())
{
    m_ui->setupUi(this);
    confirmLabel = m_ui->confirmLabel;
    primary = m_ui->primary;
    confirm = m_ui->confirm;
    errorLabel = m_ui->errorLabel;
    m_captionLabel = m_ui->captionLabel;
    viewDidLoad();
}

PasswordViewController::~PasswordViewController() = default;

void PasswordViewController::viewDidLoad()
{
    connect(m_ui->okButton, &QPushButton::clicked, this, [this] { acceptInputWithSender(m_ui->okButton); });
    connect(m_ui->cancelButton, &QPushButton::clicked, this, [this] { cancelInputWithSender(m_ui->cancelButton); });
    // The presenter may set the mode before or after the layout is loaded;
    // either way the fields end up matching it.
    updateFieldVisibility();
}

void PasswordViewController::setPresentingViewController(QObject* presenter)
{
    m_presentingViewController = presenter;
}

QObject* PasswordViewController::presentingViewController() const
{
    return m_presentingViewController.data();
}

void PasswordViewController::updateFieldVisibility()
{
    const bool collecting = mode == Mode::collect;
    if (confirmLabel) {
        confirmLabel->setHidden(collecting);
    }
    if (confirm) {
        confirm->setHidden(collecting);
    }
    if (m_captionLabel) {
        m_captionLabel->setText(captionFor(mode));
    }
    // Fit the window to the rows that are left, so collect has no gap.
    if (layout()) {
        layout()->activate();
    }
    adjustSize();
}

void PasswordViewController::acceptInputWithSender(QObject* /*sender*/)
{
    if (!primary) {
        fatalError(QStringLiteral("the password dialog has no primary password field"));
    }
    const QString confirmation = confirm ? confirm->text() : QString();
    const PasswordCheck::Outcome outcome = PasswordCheck(mode, matchPassword).check(primary->text(), confirmation);
    if (outcome.passwordMatched.has_value()) {
        passwordMatched = *outcome.passwordMatched;
    }
    if (!outcome.accepted) {
        showError(outcome.errorMessage);
        return;
    }
    if (mode == Mode::set) {
        passwordHash = outcome.passwordHash;
    }
    dismiss();
}

void PasswordViewController::cancelInputWithSender(QObject* /*sender*/)
{
    dismiss();
}

void PasswordViewController::reject()
{
    // While the presenter is taking the dialog back, a reject or close that
    // it issues is the closing itself, not another Cancel.
    if (m_dismissing) {
        QDialog::reject();
        return;
    }
    cancelInputWithSender(this);
}

void PasswordViewController::closeEvent(QCloseEvent* event)
{
    if (m_dismissing) {
        QDialog::closeEvent(event);
        return;
    }
    // The window's close button is Cancel. A presenter that takes the dialog
    // back may close it with close() from inside this very event, which Qt
    // ignores while a close is under way, so the event itself lets the window
    // go. Without a presenter it stays, like after Cancel.
    if (dismiss()) {
        event->accept();
    } else {
        event->ignore();
    }
}

void PasswordViewController::showError(const QString& message)
{
    if (errorLabel) {
        errorLabel->setText(message);
    }
}

bool PasswordViewController::dismiss()
{
    // The presenter hears of the dialog once per dismissal, whichever way
    // it then closes it.
    if (m_dismissing || !m_presentingViewController) {
        return false;
    }
    m_dismissing = true;
    const QPointer<PasswordViewController> self(this);
    const bool delivered = QMetaObject::invokeMethod(
        m_presentingViewController, "dismissViewController", Qt::DirectConnection, Q_ARG(QObject*, this));
    if (!delivered) {
        fatalError(QStringLiteral("the password dialog's presenter %1 cannot dismissViewController(QObject*)")
                       .arg(QString::fromLatin1(m_presentingViewController->metaObject()->className())));
    }
    if (self) {
        m_dismissing = false;
    }
    return true;
}
