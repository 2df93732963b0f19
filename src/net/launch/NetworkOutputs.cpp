#include "launch/NetworkOutputs.h"

#include "outputs/DmxSender.h"
#include "outputs/MqttPublisher.h"
#include "outputs/TslSender.h"
#include "outputs/VmixFeedServer.h"
#include "outputs/WebTallyServer.h"
#include "tally/TallyCycle.h"

namespace {

bool sameTsl(const NetworkOutputChoices& a, const NetworkOutputChoices& b)
{
    return a.tsl31Destinations == b.tsl31Destinations && a.tsl50Destinations == b.tsl50Destinations
        && a.tslIndexOffset == b.tslIndexOffset;
}

} // namespace

NetworkOutputs::NetworkOutputs(TallyCycle& cycle, QObject* parent)
    : QObject(parent)
    , m_cycle(cycle)
{
}

NetworkOutputs::~NetworkOutputs()
{
    m_running.removeFrom(m_cycle);
}

bool NetworkOutputs::startAtLaunch(const RunOptions& commandLine, const NetworkOutputChoices& saved, QString* problem)
{
    std::optional<StartedOutputs> started = startOutputs(commandLine, problem);
    if (!started) {
        return false;
    }
    install(NetworkOutputChoices::of(commandLine), std::move(*started));
    QStringList problems;
    if (!commandLine.tslGiven) {
        NetworkOutputChoices next = m_current;
        next.takeTslFrom(saved);
        startSaved(next, tr("The saved TSL outputs"), &problems);
    }
    if (!commandLine.web) {
        NetworkOutputChoices next = m_current;
        next.web = saved.web;
        startSaved(next, tr("The saved web tally page"), &problems);
    }
    if (!commandLine.vmixFeed) {
        NetworkOutputChoices next = m_current;
        next.vmixFeed = saved.vmixFeed;
        next.vmixFeedAllowedClients = saved.vmixFeedAllowedClients;
        startSaved(next, tr("The saved vMix tally feed"), &problems);
    }
    if (!commandLine.mqttGiven) {
        NetworkOutputChoices next = m_current;
        next.takeMqttFrom(saved);
        startSaved(next, tr("The saved MQTT outputs"), &problems);
    }
    if (!commandLine.dmxGiven) {
        NetworkOutputChoices next = m_current;
        next.takeDmxFrom(saved);
        startSaved(next, tr("The saved DMX outputs"), &problems);
    }
    setProblem(problems.join(QStringLiteral(" · ")));
    return true;
}

void NetworkOutputs::startSaved(const NetworkOutputChoices& next, const QString& what, QStringList* problems)
{
    if (next == m_current) {
        return;
    }
    QString failed;
    if (!replace(next, &failed)) {
        problems->append(tr("%1 did not start: %2").arg(what, failed));
    }
}

QList<PhoneLink> NetworkOutputs::phoneLinks(qsizetype lightCount) const
{
    if (!m_running.web) {
        return {};
    }
    return PhoneLinks::forPages(m_running.web->pageUrls(), lightCount);
}

bool NetworkOutputs::apply(const NetworkOutputChoices& choices, QString* problem)
{
    if (!replace(choices, problem)) {
        return false;
    }
    // What runs now is what the operator just chose: an older failure no
    // longer stands between them and their outputs.
    setProblem(QString());
    return true;
}

bool NetworkOutputs::choose(const NetworkOutputChoices& choices, UserDefaults& defaults, QString* problem)
{
    if (!apply(choices, problem)) {
        return false;
    }
    choices.save(defaults);
    return true;
}

bool NetworkOutputs::replace(const NetworkOutputChoices& choices, QString* problem)
{
    if (!choices.check(problem)) {
        return false;
    }
    // The parts that can still fail first (the MQTT files, then the page),
    // and until they have, the running outputs stay untouched.
    StartedOutputs next;
    bool reusedFeed = false;
    if (!vmixFeedFor(choices, &next.vmixFeed, &reusedFeed, problem)) {
        return false;
    }
    const auto keepFeed = [&] {
        if (reusedFeed) {
            m_running.vmixFeed = std::move(next.vmixFeed);
            putFeedBack();
        }
    };
    bool reusedMqtt = false;
    if (!mqttFor(choices, &next, &reusedMqtt, problem)) {
        keepFeed();
        return false;
    }
    if (!startWeb(choices.runOptions(), &next.web, problem)) {
        if (reusedMqtt) {
            m_running.mqtt = std::move(next.mqtt);
        }
        keepFeed();
        return false;
    }
    next.tsl = senderFor(choices);
    next.dmx = dmxSenderFor(choices);
    install(choices, std::move(next));
    return true;
}

std::unique_ptr<TslSender> NetworkOutputs::senderFor(const NetworkOutputChoices& choices)
{
    // An unchanged sender goes on, so that its TCP connections are not cut.
    if (m_running.tsl && sameTsl(choices, m_current)) {
        return std::move(m_running.tsl);
    }
    QString ignored; // checked before: every destination parses
    return makeTslSender(choices.runOptions(), &ignored);
}

std::unique_ptr<DmxSender> NetworkOutputs::dmxSenderFor(const NetworkOutputChoices& choices)
{
    // An unchanged sender goes on: its streams keep their sequence, and an
    // sACN receiver never sees them end and start again.
    if (m_running.dmx && choices.sameDmxAs(m_current)) {
        return std::move(m_running.dmx);
    }
    QString ignored; // checked before: every destination and the layout
    return makeDmxSender(choices.runOptions(), &ignored);
}

bool NetworkOutputs::vmixFeedFor(
    const NetworkOutputChoices& choices, std::unique_ptr<VmixFeedServer>* feed, bool* reused, QString* problem)
{
    const RunOptions options = choices.runOptions();
    if (!options.vmixFeed) {
        return true;
    }
    // The running feed goes on, moved if its address changed: its receivers
    // stay subscribed, and a new server could not take the port it holds
    // (moving from one interface to every interface, say).
    if (m_running.vmixFeed) {
        const std::optional<SenderAllowList> allowed = vmixFeedAllowList(options, problem);
        if (!allowed) {
            return false;
        }
        if (m_current.runOptions().vmixFeed != options.vmixFeed
            && !m_running.vmixFeed->moveTo(*options.vmixFeed, problem)) {
            return false;
        }
        *feed = std::move(m_running.vmixFeed);
        (*feed)->setAllowedClients(*allowed);
        *reused = true;
        return true;
    }
    *feed = startVmixFeed(options, problem);
    return *feed != nullptr;
}

void NetworkOutputs::putFeedBack()
{
    const RunOptions options = m_current.runOptions();
    if (!m_running.vmixFeed || !options.vmixFeed) {
        return;
    }
    QString ignored; // both were in use a moment ago
    if (m_running.vmixFeed->address() != *options.vmixFeed) {
        m_running.vmixFeed->moveTo(*options.vmixFeed, &ignored);
    }
    m_running.vmixFeed->setAllowedClients(vmixFeedAllowList(options, &ignored).value_or(SenderAllowList {}));
}

bool NetworkOutputs::mqttFor(const NetworkOutputChoices& choices, StartedOutputs* next, bool* reused, QString* problem)
{
    // Unchanged publishers go on, so that their connections are not cut
    // and the lamps do not see the program go offline for nothing.
    if (!m_running.mqtt.empty() && choices.sameMqttAs(m_current)) {
        next->mqtt = std::move(m_running.mqtt);
        *reused = true;
        return true;
    }
    next->mqtt = makeMqttPublishers(choices.runOptions(), problem);
    return !next->mqtt.empty() || choices.mqttBrokers.isEmpty();
}

bool NetworkOutputs::startWeb(const RunOptions& options, std::unique_ptr<WebTallyServer>* server, QString* problem)
{
    if (!options.web) {
        return true;
    }
    // The same address keeps the page that listens there: open pages stay
    // connected, and a new server could not take the port anyway.
    const std::optional<WebListenAddress> running = runningWebAddress();
    if (running && running == options.web) {
        *server = std::move(m_running.web);
        return true;
    }
    *server = startWebTally(options, problem);
    if (*server) {
        return true;
    }
    if (running && running->port == options.web->port) {
        return listenInPlaceOfOwnPage(*options.web, server, problem);
    }
    return false;
}

bool NetworkOutputs::listenInPlaceOfOwnPage(
    const WebListenAddress& where, std::unique_ptr<WebTallyServer>* server, QString* problem)
{
    // The running page holds the port (moving from one interface to every
    // interface, say): it lets go for a moment, and takes the port back if
    // the new address cannot listen either.
    const WebListenAddress previous = *runningWebAddress();
    m_cycle.removeOutput(m_running.web.get());
    m_running.web.reset();
    auto moved = std::make_unique<WebTallyServer>();
    if (moved->listen(where, problem)) {
        *server = std::move(moved);
        return true;
    }
    auto back = std::make_unique<WebTallyServer>();
    QString lost;
    if (back->listen(previous, &lost)) {
        m_running.web = std::move(back);
        m_cycle.addOutput(m_running.web.get());
    } else {
        m_current.web.reset();
        setProblem(tr("The web tally page stopped: %1").arg(lost));
    }
    return false;
}

void NetworkOutputs::install(const NetworkOutputChoices& choices, StartedOutputs started)
{
    m_running.removeFrom(m_cycle);
    m_running = std::move(started);
    m_running.addTo(m_cycle);
    m_current = choices;
    followMqttConditions();
}

void NetworkOutputs::followMqttConditions()
{
    for (const std::unique_ptr<MqttPublisher>& publisher : m_running.mqtt) {
        connect(publisher.get(), &MqttPublisher::conditionChanged, this, &NetworkOutputs::updateProblem,
            Qt::UniqueConnection);
    }
    updateProblem();
}

void NetworkOutputs::updateProblem()
{
    QStringList parts;
    if (!m_startProblem.isEmpty()) {
        parts.append(m_startProblem);
    }
    for (const std::unique_ptr<MqttPublisher>& publisher : m_running.mqtt) {
        if (!publisher->condition().isEmpty()) {
            parts.append(publisher->condition());
        }
    }
    const QString problem = parts.join(QStringLiteral(" · "));
    if (problem == m_problem) {
        return;
    }
    m_problem = problem;
    Q_EMIT problemChanged(problem);
}

std::optional<WebListenAddress> NetworkOutputs::runningWebAddress() const
{
    // The page runs exactly when the current choices name one, and they
    // were checked before they became current.
    return m_running.web ? m_current.runOptions().web : std::nullopt;
}

void NetworkOutputs::setProblem(const QString& problem)
{
    m_startProblem = problem;
    updateProblem();
}
