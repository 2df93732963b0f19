#include "dialogs/NetworkOutputsDialog.h"

#include "dialogs/PhoneLinksView.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QSpinBox>

namespace {

// One destination a line; blank lines and surrounding spaces are not part
// of any destination.
QStringList destinationLines(const QPlainTextEdit& field)
{
    QStringList destinations;
    for (const QString& line : field.toPlainText().split(QLatin1Char('\n'))) {
        if (!line.trimmed().isEmpty()) {
            destinations.append(line.trimmed());
        }
    }
    return destinations;
}

QPlainTextEdit* destinationField(
    const QString& name, const QStringList& destinations, const QString& placeholder, QWidget* parent)
{
    auto* field = new QPlainTextEdit(destinations.join(QLatin1Char('\n')), parent);
    field->setObjectName(name);
    field->setPlaceholderText(placeholder);
    field->setTabChangesFocus(true);
    field->setMaximumHeight(field->fontMetrics().lineSpacing() * 5);
    return field;
}

} // namespace

NetworkOutputsDialog::NetworkOutputsDialog(const NetworkOutputChoices& current, Apply apply, QWidget* parent)
    : QDialog(parent)
    , m_apply(std::move(apply))
{
    setWindowTitle(tr("Network Outputs"));
    auto* form = new QFormLayout(this);
    addWebRows(current);
    addVmixFeedRows(current);
    addTslRows(current);
    addMqttRows(current);
    addDmxRows(current);
    problemLabel = new QLabel(this);
    problemLabel->setObjectName(QStringLiteral("networkOutputsProblem"));
    problemLabel->setWordWrap(true);
    problemLabel->setTextFormat(Qt::PlainText);
    problemLabel->setStyleSheet(QStringLiteral("QLabel { color: #b00000; }"));
    problemLabel->hide();
    form->addRow(problemLabel);
    buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
    form->addRow(buttons);
    connect(buttons, &QDialogButtonBox::accepted, this, &NetworkOutputsDialog::tryChoices);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
}

void NetworkOutputsDialog::addWebRows(const NetworkOutputChoices& current)
{
    auto* form = static_cast<QFormLayout*>(layout());
    webCheckBox = new QCheckBox(tr("Serve the web tally page for phones"), this);
    webCheckBox->setObjectName(QStringLiteral("webTallyOn"));
    webCheckBox->setChecked(current.web.has_value());
    webAddressField = new QLineEdit(current.web.value_or(QString()), this);
    webAddressField->setObjectName(QStringLiteral("webTallyAddress"));
    webAddressField->setPlaceholderText(tr("8080, or 192.168.1.20:8080 for one interface only"));
    // Switched off, the address stays in the field for switching on again.
    webAddressField->setEnabled(webCheckBox->isChecked());
    connect(webCheckBox, &QCheckBox::toggled, webAddressField, &QWidget::setEnabled);
    form->addRow(webCheckBox);
    form->addRow(tr("Listen on:"), webAddressField);
    phoneLinksView = new PhoneLinksView(this);
    form->addRow(phoneLinksView);
    phoneLinksView->hide();
}

void NetworkOutputsDialog::showPhoneLinks(const QList<PhoneLink>& links)
{
    phoneLinksView->setLinks(links);
    phoneLinksView->setVisible(!links.isEmpty());
}

void NetworkOutputsDialog::addVmixFeedRows(const NetworkOutputChoices& current)
{
    auto* form = static_cast<QFormLayout*>(layout());
    vmixFeedCheckBox = new QCheckBox(tr("Tell the lights to vMix tally receivers (vMix TCP API)"), this);
    vmixFeedCheckBox->setObjectName(QStringLiteral("vmixFeedOn"));
    vmixFeedCheckBox->setChecked(current.vmixFeed.has_value());
    vmixFeedAddressField = new QLineEdit(current.vmixFeed.value_or(QString()), this);
    vmixFeedAddressField->setObjectName(QStringLiteral("vmixFeedAddress"));
    vmixFeedAddressField->setPlaceholderText(tr("8100, or 192.168.1.20:8100; vMix itself uses 8099"));
    vmixFeedAddressField->setEnabled(vmixFeedCheckBox->isChecked());
    connect(vmixFeedCheckBox, &QCheckBox::toggled, vmixFeedAddressField, &QWidget::setEnabled);
    vmixFeedAllowedField = new QLineEdit(current.vmixFeedAllowedClients, this);
    vmixFeedAllowedField->setObjectName(QStringLiteral("vmixFeedAllowedClients"));
    vmixFeedAllowedField->setPlaceholderText(tr("every address; or 192.168.1.0/24, 10.0.0.5"));
    vmixFeedAllowedField->setEnabled(vmixFeedCheckBox->isChecked());
    connect(vmixFeedCheckBox, &QCheckBox::toggled, vmixFeedAllowedField, &QWidget::setEnabled);
    form->addRow(vmixFeedCheckBox);
    form->addRow(tr("vMix feed on:"), vmixFeedAddressField);
    form->addRow(tr("Only from:"), vmixFeedAllowedField);
}

void NetworkOutputsDialog::addTslRows(const NetworkOutputChoices& current)
{
    auto* form = static_cast<QFormLayout*>(layout());
    tsl31Field = destinationField(
        QStringLiteral("tsl31Destinations"), current.tsl31Destinations, tr("udp://HOST:PORT, one a line"), this);
    tsl50Field = destinationField(QStringLiteral("tsl50Destinations"), current.tsl50Destinations,
        tr("udp://HOST:PORT or tcp://HOST:PORT, one a line"), this);
    offsetField = new QSpinBox(this);
    offsetField->setObjectName(QStringLiteral("tslIndexOffset"));
    // The widest range any version allows; a version with fewer display
    // indexes says so when the choices are tried.
    offsetField->setRange(0, 65535);
    offsetField->setValue(current.tslIndexOffset);
    offsetField->setToolTip(tr("Light N is TSL display index N + this offset"));
    form->addRow(tr("TSL 3.1 destinations:"), tsl31Field);
    form->addRow(tr("TSL 5.0 destinations:"), tsl50Field);
    form->addRow(tr("Display index offset:"), offsetField);
}

void NetworkOutputsDialog::addMqttRows(const NetworkOutputChoices& current)
{
    auto* form = static_cast<QFormLayout*>(layout());
    mqttField = destinationField(QStringLiteral("mqttBrokers"), current.mqttBrokers,
        tr("mqtt://[USER@]HOST[:PORT][/PREFIX] or mqtts://..., one a line"), this);
    mqttDiscoveryCheckBox = new QCheckBox(tr("Announce the lights to Home Assistant (MQTT discovery)"), this);
    mqttDiscoveryCheckBox->setObjectName(QStringLiteral("mqttDiscovery"));
    mqttDiscoveryCheckBox->setChecked(current.mqttDiscovery);
    mqttPasswordFileField = new QLineEdit(current.mqttPasswordFile, this);
    mqttPasswordFileField->setObjectName(QStringLiteral("mqttPasswordFile"));
    mqttPasswordFileField->setPlaceholderText(tr("a file whose first line is the password, for USER@ brokers"));
    mqttCaFileField = new QLineEdit(current.mqttCaFile, this);
    mqttCaFileField->setObjectName(QStringLiteral("mqttCaFile"));
    mqttCaFileField->setPlaceholderText(tr("for mqtts://: a CA certificate to trust besides the system's"));
    form->addRow(tr("MQTT brokers:"), mqttField);
    form->addRow(mqttDiscoveryCheckBox);
    form->addRow(tr("MQTT password file:"), mqttPasswordFileField);
    form->addRow(tr("MQTT CA file:"), mqttCaFileField);
}

void NetworkOutputsDialog::addDmxRows(const NetworkOutputChoices& current)
{
    auto* form = static_cast<QFormLayout*>(layout());
    dmxField = destinationField(QStringLiteral("dmxDestinations"), current.dmxDestinations,
        tr("artnet://HOST[:PORT][/UNIVERSE] or sacn://[HOST][:PORT][/UNIVERSE], one a line"), this);
    dmxStartField = new QSpinBox(this);
    dmxStartField->setObjectName(QStringLiteral("dmxStartChannel"));
    // Every channel of the universe; a start the lights do not fit after
    // is said when the choices are tried.
    dmxStartField->setRange(1, 512);
    dmxStartField->setValue(current.dmxStartChannel);
    dmxStartField->setToolTip(tr("Light 1's first channel; each light takes the channels after it"));
    dmxLayoutField = new QComboBox(this);
    dmxLayoutField->setObjectName(QStringLiteral("dmxLayout"));
    dmxLayoutField->addItem(tr("RGB: three channels a light (live red, preview green)"), QStringLiteral("rgb"));
    dmxLayoutField->addItem(tr("Single: one channel a light (live 255, preview 128)"), QStringLiteral("single"));
    const int chosen = dmxLayoutField->findData(current.dmxLayout);
    dmxLayoutField->setCurrentIndex(chosen < 0 ? 0 : chosen);
    form->addRow(tr("DMX destinations:"), dmxField);
    form->addRow(tr("First DMX channel:"), dmxStartField);
    form->addRow(tr("DMX layout:"), dmxLayoutField);
}

NetworkOutputChoices NetworkOutputsDialog::choices() const
{
    NetworkOutputChoices chosen;
    if (webCheckBox->isChecked()) {
        chosen.web = webAddressField->text().trimmed();
    }
    if (vmixFeedCheckBox->isChecked()) {
        chosen.vmixFeed = vmixFeedAddressField->text().trimmed();
        chosen.vmixFeedAllowedClients = vmixFeedAllowedField->text().trimmed();
    }
    chosen.tsl31Destinations = destinationLines(*tsl31Field);
    chosen.tsl50Destinations = destinationLines(*tsl50Field);
    chosen.tslIndexOffset = offsetField->value();
    chosen.mqttBrokers = destinationLines(*mqttField);
    chosen.mqttDiscovery = mqttDiscoveryCheckBox->isChecked();
    chosen.mqttPasswordFile = mqttPasswordFileField->text().trimmed();
    chosen.mqttCaFile = mqttCaFileField->text().trimmed();
    chosen.dmxDestinations = destinationLines(*dmxField);
    chosen.dmxStartChannel = dmxStartField->value();
    chosen.dmxLayout = dmxLayoutField->currentData().toString();
    return chosen;
}

void NetworkOutputsDialog::tryChoices()
{
    QString problem;
    if (!m_apply(choices(), &problem)) {
        showProblem(problem);
        return;
    }
    showProblem(QString());
    accept();
}

void NetworkOutputsDialog::showProblem(const QString& problem)
{
    problemLabel->setText(problem);
    problemLabel->setVisible(!problem.isEmpty());
}
