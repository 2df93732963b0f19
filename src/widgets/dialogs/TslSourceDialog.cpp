#include "dialogs/TslSourceDialog.h"

#include "launch/RunOptions.h"
#include "switchers/SenderAllowList.h"
#include "switchers/TslShotSource.h"

#include <QComboBox>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QSpinBox>

namespace {

// The items' order in the version and transport fields.
constexpr int version50Item = 0;
constexpr int version31Item = 1;
constexpr int udpItem = 0;
constexpr int tcpItem = 1;

} // namespace

TslSourceDialog::TslSourceDialog(
    const QString& address, const QStringList& allowedSenders, std::optional<int> silenceSeconds, QWidget* parent)
    : QDialog(parent)
{
    setWindowTitle(tr("TSL UMD Listener"));
    auto* form = new QFormLayout(this);
    versionField = new QComboBox(this);
    versionField->setObjectName(QStringLiteral("tslVersion"));
    versionField->insertItem(version50Item, tr("TSL UMD 5.0"));
    versionField->insertItem(version31Item, tr("TSL UMD 3.1"));
    transportField = new QComboBox(this);
    transportField->setObjectName(QStringLiteral("tslTransport"));
    transportField->insertItem(udpItem, tr("UDP"));
    transportField->insertItem(tcpItem, tr("TCP"));
    listenAddressField = new QLineEdit(this);
    listenAddressField->setObjectName(QStringLiteral("tslListenAddress"));
    listenAddressField->setPlaceholderText(tr("every interface"));
    portField = new QSpinBox(this);
    portField->setObjectName(QStringLiteral("tslPort"));
    portField->setRange(1, 65535);
    portField->setValue(defaultPort);
    allowedSendersField = new QLineEdit(allowedSenders.join(QStringLiteral(", ")), this);
    allowedSendersField->setObjectName(QStringLiteral("tslAllowedSenders"));
    allowedSendersField->setPlaceholderText(tr("every sender"));
    allowedSendersField->setToolTip(tr("The switcher's addresses or networks, separated by commas, such as "
                                       "10.0.0.5, 10.0.1.0/24. Messages from any other address are refused."));
    silenceField = new QSpinBox(this);
    silenceField->setObjectName(QStringLiteral("tslSilence"));
    silenceField->setRange(0, RunOptions::maxTslSilenceSeconds);
    silenceField->setSuffix(tr(" s"));
    silenceField->setSpecialValueText(tr("never"));
    silenceField->setToolTip(tr("How long a sender may send nothing before it counts as gone and its displays are "
                                "forgotten. A sender connected over TCP counts as there while it is connected. "
                                "Unless set, never with accepted senders, and 5 s without, as anyone could then "
                                "hold a light."));
    problemLabel = new QLabel(this);
    problemLabel->setObjectName(QStringLiteral("tslProblem"));
    problemLabel->setWordWrap(true);

    if (const std::optional<TslShotSource::Listen> known = TslShotSource::parseAddress(address, nullptr)) {
        versionField->setCurrentIndex(known->version == TslTallyEncoding::Version::v31 ? version31Item : version50Item);
        transportField->setCurrentIndex(known->transport == TslShotSource::Transport::tcp ? tcpItem : udpItem);
        if (known->address != QHostAddress(QHostAddress::Any)) {
            listenAddressField->setText(known->address.toString());
        }
        portField->setValue(known->port);
    }

    form->addRow(tr("Version:"), versionField);
    form->addRow(tr("Transport:"), transportField);
    form->addRow(tr("Port:"), portField);
    form->addRow(tr("Listen on:"), listenAddressField);
    form->addRow(tr("Accept only from:"), allowedSendersField);
    form->addRow(tr("Sender gone after:"), silenceField);
    form->addRow(problemLabel);
    m_buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
    form->addRow(m_buttons);
    connect(m_buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(m_buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    connect(listenAddressField, &QLineEdit::textChanged, this, &TslSourceDialog::check);
    connect(allowedSendersField, &QLineEdit::textChanged, this, &TslSourceDialog::check);
    connect(allowedSendersField, &QLineEdit::textChanged, this, &TslSourceDialog::showDefaultSilence);
    connect(silenceField, &QSpinBox::valueChanged, this,
        [this] { m_silenceChosen = m_silenceChosen || !m_showingDefault; });
    if (silenceSeconds) {
        silenceField->setValue(*silenceSeconds);
        m_silenceChosen = true;
    } else {
        showDefaultSilence();
    }
    check();
}

std::optional<int> TslSourceDialog::silenceSeconds() const
{
    if (!m_silenceChosen) {
        return std::nullopt;
    }
    return silenceField->value();
}

void TslSourceDialog::showDefaultSilence()
{
    if (m_silenceChosen) {
        return;
    }
    const std::optional<SenderAllowList> allowed = SenderAllowList::parse({ allowedSendersField->text() }, nullptr);
    const bool strangersKeptOut = allowed && !allowed->isEmpty();
    m_showingDefault = true;
    silenceField->setValue(strangersKeptOut
            ? 0
            : int(std::chrono::duration_cast<std::chrono::seconds>(TslShotSource::defaultSilenceLimit).count()));
    m_showingDefault = false;
}

QString TslSourceDialog::address() const
{
    const bool v31 = versionField->currentIndex() == version31Item;
    const bool tcp = transportField->currentIndex() == tcpItem;
    QString scheme = v31 ? QStringLiteral("tsl") : QStringLiteral("tsl5");
    if (tcp) {
        scheme += QStringLiteral("+tcp");
    }
    QString host = listenAddressField->text().trimmed();
    if (host.contains(QLatin1Char(':')) && !host.startsWith(QLatin1Char('['))) {
        host = QLatin1Char('[') + host + QLatin1Char(']');
    }
    const QString port = QString::number(portField->value());
    return scheme + QStringLiteral("://") + (host.isEmpty() ? port : host + QLatin1Char(':') + port);
}

QStringList TslSourceDialog::allowedSenders() const
{
    const std::optional<SenderAllowList> allowed = SenderAllowList::parse({ allowedSendersField->text() }, nullptr);
    return allowed ? allowed->entries() : QStringList();
}

void TslSourceDialog::check()
{
    QString problem;
    if (!SenderAllowList::parse({ allowedSendersField->text() }, &problem)) {
        problem = tr("Accept only from: %1").arg(problem);
    } else if (!TslShotSource::parseAddress(address(), nullptr)) {
        problem = tr("Listen on: '%1' is not an address of this computer's").arg(listenAddressField->text().trimmed());
    }
    problemLabel->setText(problem);
    problemLabel->setVisible(!problem.isEmpty());
    m_buttons->button(QDialogButtonBox::Ok)->setEnabled(problem.isEmpty());
}
