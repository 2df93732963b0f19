#pragma once

#include "launch/NetworkOutputChoices.h"
#include "launch/RunBuilder.h"
#include "outputs/PhoneLinks.h"
#include "outputs/WebListenAddress.h"

#include <QObject>
#include <QString>

#include <optional>

class TallyCycle;
class UserDefaults;

// The outputs besides the window and the tally box while the program runs:
// the web tally page, the TSL UMD sender, the MQTT publishers and the DMX
// sender, added to the update cycle and
// replaced at once when the operator chooses others, without a restart. A
// change either happens whole or not at all: a bad choice or a port that
// cannot be listened on leaves the running outputs as they were.
class NetworkOutputs : public QObject {
    Q_OBJECT

public:
    explicit NetworkOutputs(TallyCycle& cycle, QObject* parent = nullptr);
    // Takes its outputs out of the cycle before they go.
    ~NetworkOutputs() override;

    // At launch: what the command line asks for, then what the settings
    // saved for the kinds it left alone (the web page; the vMix feed; TSL; MQTT; DMX). False, with the
    // problem, when the command line's own outputs cannot start: the program
    // ends, as it always has. A saved choice that cannot start stays off and
    // is reported through problemChanged, so that the window still opens.
    bool startAtLaunch(const RunOptions& commandLine, const NetworkOutputChoices& saved, QString* problem);

    // Replaces the running outputs by those the choices ask for. False, with
    // the reason, when a choice is bad or the page cannot listen.
    bool apply(const NetworkOutputChoices& choices, QString* problem);
    // apply, and remembered for the next start when it worked.
    bool choose(const NetworkOutputChoices& choices, UserDefaults& defaults, QString* problem);

    // What runs now.
    const NetworkOutputChoices& current() const { return m_current; }
    WebTallyServer* webServer() const { return m_running.web.get(); }
    TslSender* tslSender() const { return m_running.tsl.get(); }
    DmxSender* dmxSender() const { return m_running.dmx.get(); }
    VmixFeedServer* vmixFeed() const { return m_running.vmixFeed.get(); }
    const std::vector<std::unique_ptr<MqttPublisher>>& mqttPublishers() const { return m_running.mqtt; }
    // Where phones open the running page, each of lightCount lights' pages
    // included; none while no page is served.
    QList<PhoneLink> phoneLinks(qsizetype lightCount) const;

    // What went wrong with the outputs that should be running, and what
    // keeps an MQTT broker from getting the lights (it is being reached
    // again); empty when nothing did.
    QString problem() const { return m_problem; }

Q_SIGNALS:
    void problemChanged(const QString& problem);

private:
    // apply without touching the reported problem.
    bool replace(const NetworkOutputChoices& choices, QString* problem);
    // Starts the part a launch left to the settings, noting a failure.
    void startSaved(const NetworkOutputChoices& next, const QString& what, QStringList* problems);
    std::unique_ptr<TslSender> senderFor(const NetworkOutputChoices& choices);
    std::unique_ptr<DmxSender> dmxSenderFor(const NetworkOutputChoices& choices);
    // The feed the choices ask for: the running one, moved to the new
    // address if need be (reused says so), else a new one. False, with the reason, when
    // it cannot listen.
    bool vmixFeedFor(
        const NetworkOutputChoices& choices, std::unique_ptr<VmixFeedServer>* feed, bool* reused, QString* problem);
    // The running feed back where it was and answering whom it answered,
    // after choices it had already taken failed elsewhere.
    void putFeedBack();
    // The publishers the choices ask for: the running ones when the MQTT
    // choices did not change (reused says so), else new ones. False, with
    // the reason, when a password or CA file cannot be read.
    bool mqttFor(const NetworkOutputChoices& choices, StartedOutputs* next, bool* reused, QString* problem);
    void followMqttConditions();
    void updateProblem();
    bool startWeb(const RunOptions& options, std::unique_ptr<WebTallyServer>* server, QString* problem);
    bool listenInPlaceOfOwnPage(
        const WebListenAddress& where, std::unique_ptr<WebTallyServer>* server, QString* problem);
    void install(const NetworkOutputChoices& choices, StartedOutputs started);
    // Where the running page listens (nothing when none runs), to keep it
    // when that does not change.
    std::optional<WebListenAddress> runningWebAddress() const;
    void setProblem(const QString& problem);

    TallyCycle& m_cycle;
    NetworkOutputChoices m_current;
    StartedOutputs m_running;
    // What failed to start; what the MQTT publishers say besides goes with
    // it into m_problem.
    QString m_startProblem;
    QString m_problem;
};
