#include "WatchPrinter.h"

#include "base/StandardOutput.h"
#include "model/LightJson.h"

#include <QJsonArray>
#include <QJsonDocument>

namespace {

// The JSON name of a switcher's running event: the scheme --source takes
// for it, so a program reading the events needs no second vocabulary.
QString runningEventName(ShotSource::Kind kind)
{
    switch (kind) {
    case ShotSource::Kind::mixdesk:
        return QStringLiteral("mixdesk");
    case ShotSource::Kind::obsStudio:
        return QStringLiteral("obs");
    case ShotSource::Kind::tslUmd:
        return QStringLiteral("tsl");
    case ShotSource::Kind::atem:
        return QStringLiteral("atem");
    case ShotSource::Kind::vmix:
        return QStringLiteral("vmix");
    }
    return QStringLiteral("mixdesk");
}

} // namespace

WatchPrinter::WatchPrinter(qsizetype lightCount, Style style, Clock clock, Sink sink)
    : m_style(style)
    , m_clock(clock ? std::move(clock) : Clock([] { return QDateTime::currentDateTime(); }))
    , m_sink(sink ? std::move(sink) : Sink([](const QString& line) { printLine(line); }))
    , m_told(lightCount, false)
    , m_shown(lightCount)
{
}

void WatchPrinter::setSource(const QString& name, ShotSource::Kind kind)
{
    m_sourceName = name;
    m_runningEvent = runningEventName(kind);
}

void WatchPrinter::setMixdeskWarningHidden(bool hidden)
{
    const bool running = hidden;
    const QList<SwitcherState> switchers = m_switchers ? m_switchers() : QList<SwitcherState>();
    // A plain line is about the whole: each switcher's own comings and
    // goings are on its status lines already.
    const bool switchersChanged = m_style == Style::Json && switchers != m_switcherStates;
    if (m_running == running && !switchersChanged) {
        return;
    }
    m_running = running;
    m_switcherStates = switchers;
    QJsonObject json { { QStringLiteral("event"), m_runningEvent }, { QStringLiteral("running"), running } };
    if (!switchers.isEmpty()) {
        QJsonArray each;
        for (const SwitcherState& switcher : switchers) {
            each.append(QJsonObject { { QStringLiteral("label"), switcher.label },
                { QStringLiteral("kind"), runningEventName(switcher.kind) },
                { QStringLiteral("running"), switcher.running } });
        }
        json.insert(QStringLiteral("switchers"), each);
    }
    emitChange(m_sourceName + (running ? QStringLiteral(" running") : QStringLiteral(" not running")), json);
}

void WatchPrinter::setEnableEditing(bool /*enabled*/)
{
    // Nothing to edit here.
}

void WatchPrinter::refreshAssignmentTitles()
{
    emitChange(QStringLiteral("Assigned shots renamed in ") + m_sourceName,
        { { QStringLiteral("event"), QStringLiteral("renamed") } });
}

qsizetype WatchPrinter::indicatorCount() const
{
    return m_told.size();
}

void WatchPrinter::showLightMode(qsizetype lightIndex, TallyMode /*mode*/)
{
    // The line waits for the tick's snapshot, which also says which shots
    // lit the light.
    m_told[lightIndex] = true;
}

void WatchPrinter::publish(const TallySnapshot& snapshot)
{
    for (qsizetype index = 0; index < snapshot.lights.size() && index < m_told.size(); ++index) {
        if (!m_told[index]) {
            continue;
        }
        const LightState& light = snapshot.lights[index];
        const Shown shown { light.mode, light.litBy };
        if (m_shown[index] != shown) {
            m_shown[index] = shown;
            printLight(static_cast<int>(index + 1), light);
        }
    }
    printMissingShots(snapshot);
}

void WatchPrinter::printLight(int lightNumber, const LightState& light)
{
    QString text = QStringLiteral("Light %1: %2").arg(lightNumber).arg(tallyModeName(light.mode));
    if (light.mode != TallyMode::off && !light.litBy.isEmpty()) {
        text += QStringLiteral(" (%1)").arg(light.litBy.join(QStringLiteral(", ")));
    }
    QJsonObject json = LightJson::fromState(lightNumber, light);
    json.insert(QStringLiteral("event"), QStringLiteral("light"));
    emitChange(text, json);
}

void WatchPrinter::printMissingShots(const TallySnapshot& snapshot)
{
    for (const MissingShotChanges::Change& change : m_missingShots.changesFor(snapshot)) {
        const QString text = change.missing
            ? QStringLiteral("Light %1: shot \"%2\" missing from %3: it cannot light this light")
            : QStringLiteral("Light %1: shot \"%2\" found in %3 again");
        emitChange(text.arg(change.lightNumber).arg(change.shot, m_sourceName),
            { { QStringLiteral("event"), QStringLiteral("missingShot") },
                { QStringLiteral("light"), change.lightNumber }, { QStringLiteral("shot"), change.shot },
                { QStringLiteral("missing"), change.missing } });
    }
}

void WatchPrinter::setTallyBoxAttached(bool attached)
{
    const bool first = !m_boxAttached.has_value();
    if (m_boxAttached == attached || (first && attached)) {
        m_boxAttached = attached;
        return;
    }
    m_boxAttached = attached;
    emitChange(attached ? QStringLiteral("Tally box attached")
                        : QStringLiteral("No tally box attached: the lights are shown here only"),
        { { QStringLiteral("event"), QStringLiteral("tallyBox") }, { QStringLiteral("attached"), attached } });
}

void WatchPrinter::emitChange(const QString& text, QJsonObject json)
{
    switch (m_style) {
    case Style::Plain:
        m_sink(text);
        return;
    case Style::Json:
        json.insert(QStringLiteral("time"), lineTimestamp(m_clock()));
        m_sink(QString::fromUtf8(QJsonDocument(json).toJson(QJsonDocument::Compact)));
        return;
    }
}
