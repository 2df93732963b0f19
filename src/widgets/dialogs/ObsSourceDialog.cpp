#include "dialogs/ObsSourceDialog.h"

#include "dialogs/HostRequiredButtons.h"
#include "sources/ObsAddress.h"

#include <QFormLayout>
#include <QLineEdit>
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
    addHostRequiredButtons(*this, *form, *hostField);
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
