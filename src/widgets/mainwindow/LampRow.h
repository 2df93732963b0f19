#pragma once

#include "model/TallySnapshot.h"
#include "tally/LampMark.h"

#include <QList>
#include <QObject>
#include <QPointer>

#include <optional>

class QAbstractButton;
class QLabel;
class QPushButton;
class QWidget;
class TallyMap;
class TallyState;

// The main screen's row of lights: an indicator per light with its number
// above it and its assignment button below. It shows the modes the tick
// decides, titles the buttons from the tally map and draws the lamps small
// or with large labels.
//
// The indicators are the TallyState views directly inside the main screen,
// in the order of their identifiers; the buttons are the views tagged 10 to
// 17 (light index plus 10). A layout that breaks either rule stops the
// process: it is a miswired window, not a situation to recover from.
class LampRow : public QObject {
    Q_OBJECT

public:
    static constexpr int firstAssignmentTag = 10;

    // view: the main screen; numbers: the labels above the lamps, from the
    // layout; tallyMap: the current map, which outlives the row.
    LampRow(QWidget& view, QList<QLabel*> numbers, const TallyMap& tallyMap, QObject* parent = nullptr);

    // The indicators, in light order: element i shows light i + 1.
    const QList<QPointer<TallyState>>& tallyStateDisplays() const { return m_displays; }

    // The TallyState children of a view (its direct children only), sorted
    // by identifier as plain strings: "tallyState10" before "tallyState2".
    // An indicator without an identifier stops the process.
    static QList<QPointer<TallyState>> collectTallyStateDisplays(const QWidget& view);

    // Stores the light's mode in its indicator and redraws it whole.
    // showing: the assigned shots that give it that mode; a lit light with
    // several shots names those in its lamp's text (the large style, Big
    // Tally) and its tooltip, so that the operator sees which camera is on.
    void showLightMode(qsizetype lightIndex, TallyMode mode, const QStringList& showing = {});
    // What a lamp's text says of its shots: all of them, or, lit with
    // several, the ones that light it.
    QString lampShotText(qsizetype lightIndex, TallyMode mode, const QStringList& showing) const;

    // Titles the assignment buttons from the tally map: "Not Assigned", the
    // one shot's name, or "Multiple shots assigned...(Click to View)".
    void refreshAssignmentTitles();
    // The buttons tagged 10 to 17, in the order the layout holds them.
    QList<QAbstractButton*> assignmentButtons() const;
    // The light a button stands for, from its tag; none for a view without
    // a tag.
    static std::optional<int> lightIndexOfButton(const QObject* button);

    // What the light report says beyond the modes: every lamp's mark (and
    // its detail, the time lost) and, per light, the assigned shots the
    // source lacks, flagged on the light's assignment button (a warning sign,
    // the shots named in its tooltip; its title stays the assignment's).
    void showLightReport(const TallySnapshot& snapshot, const QList<LampMark>& marks, const QString& markDetail);
    // The missing shots flagged under a light now.
    QStringList missingShotsOfLight(qsizetype lightIndex) const { return m_missingShots.value(lightIndex); }

    // The names of the shots assigned to a light, as its lamp shows them.
    QString shotNamesOfLight(qsizetype lightIndex) const;

    // The large style (number and shots inside the lamp, tall enough for
    // them) or the small LIVE/PREVIEW one.
    void applyLargeLampLabels(bool large);
    bool showsLargeLampLabels() const { return m_largeLampLabels; }

Q_SIGNALS:
    // An indicator was given its mode; shotNames are the light's assigned
    // shots, for larger views.
    void lightModeShown(qsizetype lightIndex, TallyMode mode, const QString& shotNames);

private:
    QPushButton* assignmentButton(qsizetype lightIndex) const;
    void showLampShotNames();
    void flagMissingShots(qsizetype lightIndex);

    QWidget& m_view;
    QList<QLabel*> m_numbers;
    const TallyMap& m_tallyMap;
    QList<QPointer<TallyState>> m_displays;
    // The indicators' heights from the layout, for the small style.
    QList<int> m_smallLampHeights;
    bool m_largeLampLabels = false;
    QList<QStringList> m_missingShots;
};
