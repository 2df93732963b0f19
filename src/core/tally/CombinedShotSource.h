#pragma once

#include "sources/ShotSource.h"
#include "tally/LostSourcePolicy.h"
#include "tally/TallyCycle.h"

#include <QList>
#include <QString>

#include <memory>
#include <optional>
#include <vector>

// Several switchers followed at once, as one source: an ATEM for the
// cameras and vMix for the playback, say. Their shots form one list, so a
// light lit by a camera on one and a clip on the other is live when either
// is, by the tally map's one rule.
//
// - Each switcher has a label ("ATEM", "vMix", "ATEM 2" for a second ATEM,
//   or the user's own). A shot name that two switchers share is written
//   "LABEL: NAME" in the list; a name only one of them has stays plain. The
//   same shot keeps its id whatever its name becomes, so a light follows it
//   by id when another switcher brings (or drops) the same name, the way it
//   follows a rename.
// - Ids are made unique by the label in front ("vMix/3"), as two switchers
//   may well both number their inputs from 1.
// - Each switcher is lost on its own. Its shots stay in the list as they
//   were last seen, or not lit, or blinking, as the lost-source choice says,
//   while the others go on; the lights fed only by running switchers stay
//   the switchers' truth. Only when every switcher is lost is the whole
//   source lost, and the tick's own lost-source handling takes over.
// - Every change one announces is announced at once: the ticker merges
//   them, and a tick asks every switcher, so a flood from one never holds
//   back another's cut for more than the ticker's merge window.
//
// One switcher alone is never wrapped in this: it is followed as it always
// was.
class CombinedShotSource : public ShotSource {
    Q_OBJECT

public:
    // One switcher to follow and what to call it; an empty label takes the
    // kind's own ("ATEM"), numbered from the second of a kind ("ATEM 2").
    struct Member {
        std::unique_ptr<ShotSource> source;
        QString label;
    };

    // What a user's "LABEL=ADDRESS" says: the label before the first "=",
    // the address after it; an address alone has no label. An "=" after
    // "://" belongs to the address.
    struct LabelledAddress {
        QString label;
        QString address;

        friend bool operator==(const LabelledAddress&, const LabelledAddress&) = default;
    };
    static LabelledAddress splitLabel(const QString& text);

    // The label a kind of switcher goes by: "Mixdesk", "OBS", "TSL",
    // "ATEM", "vMix".
    static QString kindLabel(Kind kind);

    // The labels the members go by, in order: the given ones as they are,
    // the others by kind. False, with the reason, when two would be the
    // same: their shots could then not be told apart.
    static bool chooseLabels(const QList<Kind>& kinds, const QStringList& given, QStringList* labels, QString* problem);

    // The switchers a source follows: a combined source's members, else the
    // source itself.
    static QList<ShotSource*> switchersOf(ShotSource& source);

    // The members, labelled by chooseLabels (which must have accepted
    // them). At least two.
    explicit CombinedShotSource(std::vector<Member> members, QObject* parent = nullptr);
    ~CombinedShotSource() override;

    // The first switcher's kind: what menus and JSON events call the whole.
    Kind kind() const override;
    // True while any switcher runs.
    bool isRunning() override;
    // Every switcher's shots, in the order the switchers were given; a lost
    // one's as the lost-source choice makes them.
    ShotList queryShots() override;
    // Each lost switcher's own warning, one after another.
    QString notRunningWarning() const override;
    // "ATEM + vMix".
    QString displayName() const override;
    // Every switcher, its label, what it follows and how.
    Details details() const override;
    // False until every switcher has answered once.
    bool knowsEveryShot() const override;

    // What a lost switcher's shots do while the others run: kept as they
    // were (the default), not lit, or blinking after the grace period.
    void setLostSourcePolicy(const LostSourcePolicy& policy) { m_policy = policy; }
    // Tests set the time by hand; the blink follows it.
    void setClock(TallyCycle::Clock clock) { m_clock = std::move(clock); }

    // Gives the switchers back with their labels and follows none from then
    // on, so that a new combination can take over those that go on running
    // rather than start them again. Only for a source about to be dropped.
    std::vector<Member> releaseMembers();

    qsizetype memberCount() const { return qsizetype(m_members.size()); }
    QString label(qsizetype index) const;
    ShotSource& member(qsizetype index) const;
    // Whether the switcher was running when last asked.
    bool memberRunning(qsizetype index) const;

private:
    struct Followed;

    void noteRunning(Followed& followed, bool running);
    // The shots of one switcher as this tick gives them, copies throughout:
    // the list's records must never be a member's own.
    QList<Shot> shotsOf(Followed& followed);
    bool blinkIsDark(const Followed& followed) const;

    std::vector<std::unique_ptr<Followed>> m_members;
    LostSourcePolicy m_policy;
    TallyCycle::Clock m_clock = TallyCycle::monotonicMilliseconds;
};
