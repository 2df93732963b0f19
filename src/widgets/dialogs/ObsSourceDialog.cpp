#include "dialogs/ObsSourceDialog.h"

#include "dialogs/HostRequiredButtons.h"
#include "sources/ObsAddress.h"

#include <QFormLayout>
#include <QLabel>
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
    testButton = new QPushButton(tr("Test"), this);
    testButton->setObjectName(QStringLiteral("obsTest"));
    testButton->setAutoDefault(false);
    testResult = new QLabel(this);
    testResult->setObjectName(QStringLiteral("obsTestResult"));
    testResult->setTextFormat(Qt::PlainText);
    testResult->setWordWrap(true);
    // Room for an address and a reason on two lines at most.
    testResult->setMinimumWidth(testResult->fontMetrics().averageCharWidth() * 44);
    form->addRow(tr("Host:"), hostField);
    form->addRow(tr("Port:"), portField);
    form->addRow(tr("Password:"), passwordField);
    form->addRow(QString(), testButton);
    form->addRow(testResult);
    addHostRequiredButtons(*this, *form, *hostField);

    connect(testButton, &QPushButton::clicked, this, &ObsSourceDialog::startTest);
    connect(hostField, &QLineEdit::textChanged, this, [this](const QString& host) {
        testButton->setEnabled(!host.trimmed().isEmpty());
        forgetTest();
    });
    connect(portField, &QSpinBox::valueChanged, this, &ObsSourceDialog::forgetTest);
    connect(passwordField, &QLineEdit::textChanged, this, &ObsSourceDialog::forgetTest);
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

void ObsSourceDialog::startTest()
{
    forgetTest();
    ObsConnectionCheck::Settings settings;
    settings.address.host = hostField->text().trimmed();
    settings.address.port = static_cast<quint16>(portField->value());
    settings.password = password();
    m_check = new ObsConnectionCheck(settings, this);
    connect(m_check, &ObsConnectionCheck::finished, this, &ObsSourceDialog::showTestOutcome);
    showTestWords(tr("Connecting to %1…").arg(settings.address.display()));
}

void ObsSourceDialog::showTestWords(const QString& words)
{
    testResult->setText(words);
    // A longer reason takes another line: the dialog grows to show it.
    adjustSize();
}

void ObsSourceDialog::showTestOutcome(ObsConnectionCheck::Outcome outcome, const QString& words)
{
    const bool connected = outcome == ObsConnectionCheck::Outcome::connected;
    // A sign as well as the colour, for an operator who does not see it.
    showTestWords((connected ? QStringLiteral("✓ ") : QStringLiteral("⚠ ")) + words);
    testResult->setStyleSheet(
        connected ? QStringLiteral("QLabel { color: #007000; }") : QStringLiteral("QLabel { color: #b00000; }"));
    m_check->deleteLater();
    m_check.clear();
}

void ObsSourceDialog::forgetTest()
{
    if (m_check) {
        m_check->disconnect(this);
        m_check->deleteLater();
        m_check.clear();
    }
    testResult->clear();
    testResult->setStyleSheet(QString());
}
