#include "dialogs/VmixSourceDialog.h"

#include "dialogs/HostRequiredButtons.h"
#include "sources/VmixAddress.h"

#include <QFormLayout>
#include <QLabel>
#include <QLineEdit>
#include <QSpinBox>

VmixSourceDialog::VmixSourceDialog(const QString& address, QWidget* parent)
    : QDialog(parent)
{
    setWindowTitle(tr("vMix"));
    auto* form = new QFormLayout(this);
    hostField = new QLineEdit(this);
    hostField->setObjectName(QStringLiteral("vmixHost"));
    hostField->setPlaceholderText(tr("computer running vMix"));
    portField = new QSpinBox(this);
    portField->setObjectName(QStringLiteral("vmixPort"));
    portField->setRange(1, 65535);
    portField->setValue(VmixAddress::defaultPort);
    if (const std::optional<VmixAddress> known = VmixAddress::parse(address, nullptr)) {
        hostField->setText(known->host);
        portField->setValue(known->port);
    }
    form->addRow(tr("vMix address:"), hostField);
    form->addRow(tr("TCP API port:"), portField);
    // The web interface's port is the one users see in vMix's settings.
    auto* note = new QLabel(tr("The TCP API listens on 8099; 8088 is vMix's web page."), this);
    note->setWordWrap(true);
    form->addRow(note);
    addHostRequiredButtons(*this, *form, *hostField);
}

QString VmixSourceDialog::address() const
{
    VmixAddress chosen;
    chosen.host = hostField->text().trimmed();
    chosen.port = static_cast<quint16>(portField->value());
    return chosen.toString();
}
