#include "tally/CombinedShotSource.h"

#include "base/Problem.h"
#include "base/Text.h"

#include <QHash>
#include <QSet>

#include <algorithm>

struct CombinedShotSource::Followed {
    std::unique_ptr<ShotSource> source;
    QString label;
    // As the last isRunning found it; a switcher counts as lost until it
    // first answers.
    bool running = false;
    // Its last shots while running: what a lost switcher's shots are made
    // of.
    QList<Shot> lastShots;
    // Since when it has been lost, on the clock; nothing while it runs.
    std::optional<qint64> lostSince;
    // Whether it has given shots since the start.
    bool answered = false;
};

CombinedShotSource::LabelledAddress CombinedShotSource::splitLabel(const QString& text)
{
    const qsizetype equals = text.indexOf(QLatin1Char('='));
    const qsizetype scheme = text.indexOf(QLatin1String("://"));
    if (equals <= 0 || (scheme >= 0 && scheme < equals)) {
        return { {}, text };
    }
    return { text.left(equals).trimmed(), text.mid(equals + 1).trimmed() };
}

QString CombinedShotSource::kindLabel(Kind kind)
{
    switch (kind) {
    case Kind::mixdesk:
        return QStringLiteral("Mixdesk");
    case Kind::obsStudio:
        return QStringLiteral("OBS");
    case Kind::tslUmd:
        return QStringLiteral("TSL");
    case Kind::atem:
        return QStringLiteral("ATEM");
    case Kind::vmix:
        return QStringLiteral("vMix");
    }
    return QStringLiteral("Switcher");
}

bool CombinedShotSource::chooseLabels(
    const QList<Kind>& kinds, const QStringList& given, QStringList* labels, QString* problem)
{
    QStringList chosen;
    QHash<Kind, int> seen;
    for (qsizetype index = 0; index < kinds.size(); ++index) {
        const QString own = given.value(index).trimmed();
        if (!own.isEmpty()) {
            chosen.append(own);
            continue;
        }
        const int number = ++seen[kinds[index]];
        const QString byKind = kindLabel(kinds[index]);
        chosen.append(number == 1 ? byKind : QStringLiteral("%1 %2").arg(byKind).arg(number));
    }
    QSet<QString> taken;
    for (const QString& label : std::as_const(chosen)) {
        const QString key = Text::canonical(label);
        if (taken.contains(key)) {
            return reportProblem(problem,
                QStringLiteral("two sources are labelled '%1'; give one of them a label of its own "
                               "(LABEL=ADDRESS)")
                    .arg(label));
        }
        taken.insert(key);
    }
    if (labels) {
        *labels = chosen;
    }
    return true;
}

QList<ShotSource*> CombinedShotSource::switchersOf(ShotSource& source)
{
    auto* combined = qobject_cast<CombinedShotSource*>(&source);
    if (!combined) {
        return { &source };
    }
    QList<ShotSource*> switchers;
    for (const std::unique_ptr<Followed>& followed : combined->m_members) {
        switchers.append(followed->source.get());
    }
    return switchers;
}

CombinedShotSource::CombinedShotSource(std::vector<Member> members, QObject* parent)
    : ShotSource(parent)
{
    for (Member& member : members) {
        auto followed = std::make_unique<Followed>();
        followed->source = std::move(member.source);
        followed->label = member.label;
        ShotSource* source = followed->source.get();
        // Passed on at once: the ticker merges bursts, and the next tick
        // asks every switcher anyway.
        connect(source, &ShotSource::shotsChanged, this, &ShotSource::shotsChanged);
        connect(source, &ShotSource::statusChanged, this, [this, label = followed->label](const QString& status) {
            setStatus(label + QStringLiteral(": ") + status);
        });
        m_members.push_back(std::move(followed));
    }
}

CombinedShotSource::~CombinedShotSource() = default;

std::vector<CombinedShotSource::Member> CombinedShotSource::releaseMembers()
{
    std::vector<Member> members;
    for (std::unique_ptr<Followed>& followed : m_members) {
        followed->source->disconnect(this);
        members.push_back({ std::move(followed->source), followed->label });
    }
    m_members.clear();
    return members;
}

ShotSource::Kind CombinedShotSource::kind() const
{
    // Emptied by releaseMembers, it follows nothing of its own.
    if (m_members.empty()) {
        return Kind::mixdesk;
    }
    return m_members.front()->source->kind();
}

bool CombinedShotSource::isRunning()
{
    bool any = false;
    for (const std::unique_ptr<Followed>& followed : m_members) {
        const bool running = followed->source->isRunning();
        noteRunning(*followed, running);
        any = any || running;
    }
    return any;
}

void CombinedShotSource::noteRunning(Followed& followed, bool running)
{
    if (running) {
        followed.lostSince.reset();
    } else if (!followed.lostSince) {
        followed.lostSince = m_clock();
    }
    if (running == followed.running) {
        return;
    }
    followed.running = running;
    // The whole runs while any switcher does, so the loss of one is said
    // here or nowhere.
    setStatus(followed.label + (running ? tr(" running") : tr(" not running")));
}

bool CombinedShotSource::blinkIsDark(const Followed& followed) const
{
    if (!followed.lostSince) {
        return false;
    }
    const qint64 blinking = m_clock() - *followed.lostSince - qint64(m_policy.blinkAfterSeconds) * 1000;
    if (blinking < 0) {
        return false; // the grace period: a quick restart goes unseen
    }
    // The dark half first, as the box's own blink does.
    return (blinking / LostSourcePolicy::blinkHalfPeriodMilliseconds) % 2 == 0;
}

QList<Shot> CombinedShotSource::shotsOf(Followed& followed)
{
    if (followed.running) {
        QList<Shot> shots;
        for (const ShotPtr& shot : followed.source->queryShots()) {
            shots.append(*shot);
        }
        followed.lastShots = shots;
        followed.answered = followed.answered || !shots.isEmpty();
        return shots;
    }
    QList<Shot> shots = followed.lastShots;
    bool unlit = false;
    switch (m_policy.action) {
    case LostSourcePolicy::Action::keepLights:
        break;
    case LostSourcePolicy::Action::turnOff:
        unlit = true;
        break;
    case LostSourcePolicy::Action::blink:
        unlit = blinkIsDark(followed);
        break;
    }
    for (Shot& shot : shots) {
        if (unlit) {
            shot.isLive = false;
            shot.isPreview = false;
        }
        shot.fromLostSource = true;
    }
    return shots;
}

ShotList CombinedShotSource::queryShots()
{
    QList<QList<Shot>> perMember;
    perMember.reserve(qsizetype(m_members.size()));
    // Which switchers have each name: a name two of them have is
    // qualified by the label everywhere it appears.
    QHash<QString, QSet<qsizetype>> owners;
    for (qsizetype index = 0; index < qsizetype(m_members.size()); ++index) {
        perMember.append(shotsOf(*m_members[size_t(index)]));
        for (const Shot& shot : std::as_const(perMember.last())) {
            owners[Text::canonical(shot.name)].insert(index);
        }
    }
    ShotList merged;
    for (qsizetype index = 0; index < perMember.size(); ++index) {
        const QString& label = m_members[size_t(index)]->label;
        for (const Shot& shot : std::as_const(perMember[index])) {
            auto copy = std::make_shared<Shot>(shot);
            if (owners.value(Text::canonical(shot.name)).size() > 1) {
                copy->name = label + QStringLiteral(": ") + shot.name;
            }
            copy->shotId = label + QLatin1Char('/') + shot.shotId;
            merged.append(std::move(copy));
        }
    }
    return merged;
}

QString CombinedShotSource::notRunningWarning() const
{
    QStringList warnings;
    for (const std::unique_ptr<Followed>& followed : m_members) {
        if (!followed->running) {
            warnings.append(followed->source->notRunningWarning());
        }
    }
    return warnings.join(QLatin1Char(' '));
}

QString CombinedShotSource::displayName() const
{
    QStringList labels;
    for (const std::unique_ptr<Followed>& followed : m_members) {
        labels.append(followed->label);
    }
    return labels.join(QStringLiteral(" + "));
}

ShotSource::Details CombinedShotSource::details() const
{
    QStringList parts;
    int running = 0;
    for (const std::unique_ptr<Followed>& followed : m_members) {
        const Details own = followed->source->details();
        QString state = own.link;
        if (state.isEmpty()) {
            state = followed->running ? tr("running") : tr("not running");
        }
        parts.append(QStringLiteral("%1 (%2, %3)").arg(followed->label, own.followed, state));
        running += followed->running ? 1 : 0;
    }
    Details details;
    details.followed = parts.join(QStringLiteral("; "));
    details.link = tr("%1 of %2 running").arg(running).arg(m_members.size());
    return details;
}

bool CombinedShotSource::knowsEveryShot() const
{
    return std::all_of(m_members.cbegin(), m_members.cend(),
        [](const std::unique_ptr<Followed>& followed) { return followed->answered; });
}

QString CombinedShotSource::label(qsizetype index) const
{
    return m_members.at(size_t(index))->label;
}

ShotSource& CombinedShotSource::member(qsizetype index) const
{
    return *m_members.at(size_t(index))->source;
}

bool CombinedShotSource::memberRunning(qsizetype index) const
{
    return m_members.at(size_t(index))->running;
}
