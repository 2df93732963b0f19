#include "mainwindow/SourceReport.h"

#include "hardware/USBHIDAppDelegate.h"
#include "launch/NetworkOutputs.h"
#include "outputs/MqttPublisher.h"
#include "outputs/WebTallyServer.h"
#include "sources/ShotSource.h"
#include "tally/StatusWording.h"
#include "tally/TallyStatus.h"
#include "tally/TallyTicker.h"

SourceReport::SourceReport(const TallyTicker& ticker, const NetworkOutputs& outputs, TallyStatus& status)
    : m_ticker(ticker)
    , m_outputs(outputs)
    , m_status(status)
{
}

void SourceReport::leaveSource()
{
    m_ticker.source().disconnect(this);
}

void SourceReport::followSource()
{
    ShotSource& source = m_ticker.source();
    // A listener's news (a sender heard for the first time, one refused) is
    // shown on the line; a connecting source's news is its link state, which
    // the situation already words.
    connect(&source, &ShotSource::statusChanged, this, [this, &source](const QString& status) {
        if (source.details().listens) {
            Q_EMIT shotSourceStatusChanged(status);
        }
    });
    Q_EMIT shotSourceFollowed(source.displayName());
    noteSituation();
}

void SourceReport::noteTick(bool sourceRunning)
{
    m_sourceRunning = sourceRunning;
    const ShotSource& source = m_ticker.source();
    m_status.noteTick(sourceRunning, m_ticker.shotList().size(), source.displayName(), source.notRunningWarning());
    const USBHIDAppDelegate& box = USBHIDAppDelegate::shared();
    m_status.noteDevice(box.controller() != nullptr, box.lastWriteFailed());
    noteSituation();
}

void SourceReport::setNoTallyBox(bool noTallyBox)
{
    m_noTallyBox = noTallyBox;
    m_status.setTallyBoxWanted(!noTallyBox);
    noteSituation();
}

void SourceReport::noteSituation()
{
    StatusWording::Outputs outputs;
    // A box plugged in all the same lights: the line then has nothing to
    // explain.
    outputs.noTallyBox = m_noTallyBox && USBHIDAppDelegate::shared().controller() == nullptr;
    if (const WebTallyServer* page = m_outputs.webServer()) {
        outputs.phonesConnected = page->webSocketCount();
    }
    if (m_outputs.tslSender() != nullptr) {
        outputs.tslDestinations
            = m_outputs.current().tsl31Destinations.size() + m_outputs.current().tsl50Destinations.size();
    }
    for (const std::unique_ptr<MqttPublisher>& publisher : m_outputs.mqttPublishers()) {
        ++outputs.mqttBrokers;
        outputs.mqttConnected += publisher->isConnected() ? 1 : 0;
    }
    const QString situation = StatusWording::situation(
        StatusWording::source(m_ticker.source().details(), m_sourceRunning, m_ticker.shotList().size()),
        StatusWording::outputs(outputs));
    if (situation != m_situation) {
        m_situation = situation;
        Q_EMIT situationChanged(situation);
    }
}
