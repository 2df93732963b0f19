#include "tally/TallyTicker.h"

#include "sources/MixdeskShotSource.h"
#include "tally/CombinedShotSource.h"
#include "tally/TallyEvaluation.h"
#include "tallymap/TallyMap.h"

#include <QTimer>

TallyTicker::TallyTicker(std::unique_ptr<ShotSource> source, TallyMap& tallyMap, TallyCycle::Observer& observer,
    TallyCycle::SendLight sendLight, QObject* parent)
    : QObject(parent)
    , m_source(source ? std::move(source) : std::make_unique<MixdeskShotSource>())
    , m_tallyMap(tallyMap)
    , m_cycle(*m_source, observer, std::move(sendLight))
    , m_timer(new QTimer(this))
    , m_mergedTick(new QTimer(this))
{
    // Exactly a quarter second: left to Qt's default, the timer may fire up
    // to 12 ms early or late to share a wake-up with other timers, and the
    // first tick would drift with the wall clock's quarter seconds.
    m_timer->setTimerType(Qt::PreciseTimer);
    m_timer->setInterval(interval);
    connect(m_timer, &QTimer::timeout, this, [this] { tick(Reason::timer); });
    m_mergedTick->setSingleShot(true);
    connect(m_mergedTick, &QTimer::timeout, this, &TallyTicker::tickForChange);
    followSource();
}

TallyTicker::~TallyTicker() = default;

void TallyTicker::start()
{
    m_shotList = m_source->queryShots();
    m_timer->start();
}

void TallyTicker::tick(Reason reason)
{
    if (m_inTick || (m_holdBack && m_holdBack())) {
        return;
    }
    m_inTick = true;
    updateTallyLights();
    m_inTick = false;
    Q_EMIT ticked(reason);
}

void TallyTicker::updateTallyLights()
{
    m_cycle.updateTallyLights(m_shotList, m_tallyMap);
}

void TallyTicker::setSource(std::unique_ptr<ShotSource> source)
{
    if (!source) {
        return;
    }
    m_source->disconnect(this);
    m_cycle.setSource(*source);
    // The old source may be inside one of its own signals: it goes once
    // control is back in the event loop.
    m_source.release()->deleteLater();
    m_source = std::move(source);
    m_shotList.clear();
    followSource();
}

void TallyTicker::rebuildSource(const Rebuild& rebuild)
{
    m_source->disconnect(this);
    std::unique_ptr<ShotSource> next = rebuild(std::move(m_source));
    m_cycle.setSource(*next);
    m_source = std::move(next);
    m_shotList.clear();
    followSource();
}

void TallyTicker::setLostSourcePolicy(const LostSourcePolicy& policy)
{
    m_cycle.setLostSourcePolicy(policy);
    passPolicyOn();
}

void TallyTicker::passPolicyOn()
{
    // Several switchers: each one lost while the others run follows the
    // same choice as the whole source lost does.
    if (auto* combined = qobject_cast<CombinedShotSource*>(m_source.get())) {
        combined->setLostSourcePolicy(m_cycle.lostSourcePolicy());
    }
}

void TallyTicker::followSource()
{
    passPolicyOn();
    // A source that hears of a cut says so; the tick runs at once rather
    // than up to a quarter of a second later.
    connect(m_source.get(), &ShotSource::shotsChanged, this, &TallyTicker::sourceChanged);
}

void TallyTicker::sourceChanged()
{
    if (m_mergedTick->isActive()) {
        return; // one more tick is already coming, and it will see this change too
    }
    const auto window = std::chrono::duration_cast<std::chrono::milliseconds>(mergeWindow).count();
    const qint64 since = m_sinceChangeTick.isValid() ? m_sinceChangeTick.elapsed() : window;
    if (since >= window) {
        tickForChange();
        return;
    }
    m_mergedTick->start(static_cast<int>(window - since));
}

void TallyTicker::tickForChange()
{
    m_sinceChangeTick.start();
    tick(Reason::sourceChanged);
}

void TallyTicker::beginTest()
{
    m_testMirror.reset();
    const TallySnapshot& before = m_cycle.lastSnapshot();
    for (qsizetype lightIndex = 0; lightIndex < before.lights.size(); ++lightIndex) {
        const LightCommand::BytePair bytes = TallyEvaluation::bytesForLight(lightIndex, before.lights[lightIndex].mode);
        m_testMirror.apply(bytes.first);
        m_testMirror.apply(bytes.second);
    }
    m_testing = true;
    showTestLights();
}

void TallyTicker::noteTestByte(quint8 byte)
{
    if (m_testing && m_testMirror.apply(byte)) {
        showTestLights();
    }
}

void TallyTicker::showTestLights()
{
    const qsizetype lightCount = m_tallyMap.shotSelections().size();
    QList<TallyMode> modes;
    modes.reserve(lightCount);
    for (qsizetype lightIndex = 0; lightIndex < lightCount; ++lightIndex) {
        modes.append(lightIndex < LightCommandMirror::numberOfLights ? m_testMirror.mode(static_cast<int>(lightIndex))
                                                                     : TallyMode::off);
    }
    m_cycle.showLightsUnderTest(modes, m_tallyMap.shotSelections());
}

void TallyTicker::endTest()
{
    if (!m_testing) {
        return;
    }
    m_testing = false;
    tick(Reason::sourceChanged);
}

void TallyTicker::finish()
{
    if (m_cycle.lostSourcePolicy().turnOffAtQuit) {
        m_cycle.turnLightsOff(m_tallyMap.shotSelections());
    }
}
