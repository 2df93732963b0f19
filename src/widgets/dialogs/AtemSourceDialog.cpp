#include "dialogs/AtemSourceDialog.h"

#include "dialogs/HostRequiredButtons.h"
#include "sources/AtemAddress.h"

#include <QFormLayout>
#include <QLineEdit>
#include <QSpinBox>

AtemSourceDialog::AtemSourceDialog(const QString& address, QWidget* parent)
    : QDialog(parent)
{
    setWindowTitle(tr("Blackmagic ATEM"));
    auto* form = new QFormLayout(this);
    hostField = new QLineEdit(this);
    hostField->setObjectName(QStringLiteral("atemHost"));
    // Switchers ship with this address; most studios change it.
    hostField->setPlaceholderText(QStringLiteral("192.168.10.240"));
    portField = new QSpinBox(this);
    portField->setObjectName(QStringLiteral("atemPort"));
    portField->setRange(1, 65535);
    portField->setValue(AtemAddress::defaultPort);
    if (const std::optional<AtemAddress> known = AtemAddress::parse(address, nullptr)) {
        hostField->setText(known->host);
        portField->setValue(known->port);
    }
    form->addRow(tr("Switcher address:"), hostField);
    form->addRow(tr("UDP port:"), portField);
    addHostRequiredButtons(*this, *form, *hostField);
}

QString AtemSourceDialog::address() const
{
    AtemAddress chosen;
    chosen.host = hostField->text().trimmed();
    chosen.port = static_cast<quint16>(portField->value());
    return chosen.toString();
}
