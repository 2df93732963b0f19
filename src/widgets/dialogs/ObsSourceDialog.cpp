#include "dialogs/ObsSourceDialog.h"

#include "sources/ObsAddress.h"

#include <QDialogButtonBox>
#include <QFormLayout>
#include <QLineEdit>
#include <QPushButton>
#include <QSpinBox>

ObsSourceDialog::ObsSourceDialog(const QString& address, const QString& password, QWidget* parent)
    : QDialog(parent)
{
    setWindowTitle(tr("OBS Studio"));
    auto* form = new QFormLayout(this);
    hostField = new QLineEdit(QStringLiteral("127.0.0.1"), this);
    hostField->setObjectName(QStringLiteral("obsHost"));
    portField = new QSpinBox(this);
    portField->setObjectName(QStringLiteral("obsPort"));
    portField->setRange(1, 65535);
    portField->setValue(ObsAddress::defaultPort);
    passwordField = new QLineEdit(password, this);
    passwordField->setObjectName(QStringLiteral("obsPassword"));
    passwordField->setEchoMode(QLineEdit::Password);
    if (const std::optional<ObsAddress> known = ObsAddress::parse(address, nullptr)) {
        hostField->setText(known->host);
        portField->setValue(known->port);
    }
    form->addRow(tr("Host:"), hostField);
    form->addRow(tr("Port:"), portField);
    form->addRow(tr("Password:"), passwordField);
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
    form->addRow(buttons);
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    // No host, no connection: OK waits for one.
    const auto checkHost = [this, buttons] {
        buttons->button(QDialogButtonBox::Ok)->setEnabled(!hostField->text().trimmed().isEmpty());
    };
    connect(hostField, &QLineEdit::textChanged, this, checkHost);
    checkHost();
}

QString ObsSourceDialog::address() const
{
    ObsAddress chosen;
    chosen.host = hostField->text().trimmed();
    chosen.port = static_cast<quint16>(portField->value());
    return QStringLiteral("obs://") + chosen.display();
}

QString ObsSourceDialog::password() const
{
    return passwordField->text();
}
