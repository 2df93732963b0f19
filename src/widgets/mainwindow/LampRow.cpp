#include "mainwindow/LampRow.h"

#include "base/FatalError.h"
#include "base/Text.h"
#include "lamps/TallyState.h"
#include "tallymap/TallyMap.h"

#include <QAbstractButton>
#include <QIcon>
#include <QLabel>
#include <QPushButton>
#include <QStyle>

#include <algorithm>

namespace {

const QString notAssignedTitle = QStringLiteral("Not Assigned");
const QString multipleShotsTitle = QStringLiteral("Multiple shots assigned...(Click to View)");

// The dynamic property "tag" of a widget, when it has one.
std::optional<int> tagOf(const QObject* object)
{
    const QVariant tag = object->property("tag");
    bool isNumber = false;
    const int value = tag.toInt(&isNumber);
    if (!tag.isValid() || !isNumber) {
        return std::nullopt;
    }
    return value;
}

QString assignmentTitle(const ShotList& shots)
{
    if (shots.isEmpty()) {
        return notAssignedTitle;
    }
    if (shots.size() == 1) {
        return shots.first()->name;
    }
    return multipleShotsTitle;
}

} // namespace

LampRow::LampRow(QWidget& view, QList<QLabel*> numbers, const TallyMap& tallyMap, QObject* parent)
    : QObject(parent)
    , m_view(view)
    , m_numbers(std::move(numbers))
    , m_tallyMap(tallyMap)
    , m_displays(collectTallyStateDisplays(view))
{
    for (QLabel* number : std::as_const(m_numbers)) {
        number->setSizePolicy(number->sizePolicy().horizontalPolicy(), QSizePolicy::Fixed);
    }
    for (qsizetype lightIndex = 0; lightIndex < m_displays.size(); ++lightIndex) {
        m_displays[lightIndex]->lightNumber = static_cast<int>(lightIndex + 1);
        m_smallLampHeights.append(m_displays[lightIndex]->minimumHeight());
    }
}

QList<QPointer<TallyState>> LampRow::collectTallyStateDisplays(const QWidget& view)
{
    QList<QPointer<TallyState>> displays;
    // Only the view's own children count: an indicator inside some other
    // panel of the window belongs to that panel.
    for (QObject* child : view.children()) {
        if (!QString::fromLatin1(child->metaObject()->className()).contains(QLatin1String("TallyState"))) {
            continue;
        }
        auto* display = qobject_cast<TallyState*>(child);
        if (display == nullptr) {
            fatalError(
                QStringLiteral("view %1 is named like an indicator but is not a TallyState").arg(child->objectName()));
        }
        if (display->objectName().isEmpty()) {
            fatalError(QStringLiteral("a light indicator of the main window has no identifier"));
        }
        displays.append(display);
    }
    // Plain string order, as the identifiers are written: "tallyState10"
    // comes before "tallyState2".
    std::stable_sort(
        displays.begin(), displays.end(), [](const QPointer<TallyState>& a, const QPointer<TallyState>& b) {
            return QString::compare(a->objectName(), b->objectName(), Qt::CaseSensitive) < 0;
        });
    return displays;
}

void LampRow::showLightMode(qsizetype lightIndex, TallyMode mode, const QStringList& showing)
{
    TallyState* display = m_displays.at(lightIndex);
    if (display == nullptr) {
        fatalError(QStringLiteral("the indicator of light %1 has gone").arg(lightIndex + 1));
    }
    const QString names = lampShotText(lightIndex, mode, showing);
    display->mode = mode;
    display->shotNames = names;
    const QString assigned = shotNamesOfLight(lightIndex);
    const QString toolTip = showing.isEmpty()
        ? tr("Light %1: %2").arg(lightIndex + 1).arg(assigned.isEmpty() ? tr("no shots") : assigned)
        : tr("Light %1 %2: %3 (its shots: %4)")
              .arg(lightIndex + 1)
              .arg(mode == TallyMode::live ? tr("live") : tr("in preview"), showing.join(QStringLiteral(", ")),
                  assigned);
    if (display->toolTip() != toolTip) {
        display->setToolTip(toolTip);
    }
    display->setNeedsDisplayInRect(display->rect());
    Q_EMIT lightModeShown(lightIndex, mode, names);
}

QList<QAbstractButton*> LampRow::assignmentButtons() const
{
    QList<QAbstractButton*> buttons;
    for (QAbstractButton* button : m_view.findChildren<QAbstractButton*>()) {
        const std::optional<int> lightIndex = lightIndexOfButton(button);
        if (lightIndex && *lightIndex >= 0 && *lightIndex < TallyMap::numberOfLights) {
            buttons.append(button);
        }
    }
    return buttons;
}

std::optional<int> LampRow::lightIndexOfButton(const QObject* button)
{
    const std::optional<int> tag = button != nullptr ? tagOf(button) : std::nullopt;
    if (!tag) {
        return std::nullopt;
    }
    return *tag - firstAssignmentTag;
}

QPushButton* LampRow::assignmentButton(qsizetype lightIndex) const
{
    const int wanted = firstAssignmentTag + static_cast<int>(lightIndex);
    QWidget* view = nullptr;
    for (QWidget* candidate : m_view.findChildren<QWidget*>()) {
        if (tagOf(candidate) == wanted) {
            view = candidate;
            break;
        }
    }
    if (view == nullptr) {
        fatalError(QStringLiteral("the main window has no view tagged %1").arg(wanted));
    }
    auto* button = qobject_cast<QPushButton*>(view);
    if (button == nullptr) {
        fatalError(QStringLiteral("the view tagged %1 is a %2, not a button")
                       .arg(wanted)
                       .arg(QString::fromLatin1(view->metaObject()->className())));
    }
    return button;
}

void LampRow::refreshAssignmentTitles()
{
    const QList<ShotList>& lights = m_tallyMap.shotSelections();
    for (qsizetype lightIndex = 0; lightIndex < lights.size(); ++lightIndex) {
        QPushButton* button = assignmentButton(lightIndex);
        const QString title = assignmentTitle(lights[lightIndex]);
        button->setText(Text::literalMnemonicText(title));
        // Long names are cut in the button; the whole title is a hover away,
        // with the shots the source lacks.
        flagMissingShots(lightIndex);
    }
    showLampShotNames();
}

void LampRow::showLightReport(const TallySnapshot& snapshot, const QList<LampMark>& marks, const QString& markDetail)
{
    for (qsizetype lightIndex = 0; lightIndex < m_displays.size(); ++lightIndex) {
        if (TallyState* display = m_displays[lightIndex]) {
            const LampMark mark = marks.value(lightIndex, LampMark::none);
            display->showMark(mark, mark == LampMark::none ? QString() : markDetail);
        }
    }
    const qsizetype lightCount = std::min<qsizetype>(snapshot.lights.size(), m_tallyMap.shotSelections().size());
    m_missingShots.resize(lightCount);
    for (qsizetype lightIndex = 0; lightIndex < lightCount; ++lightIndex) {
        if (m_missingShots[lightIndex] != snapshot.lights[lightIndex].missingShots) {
            m_missingShots[lightIndex] = snapshot.lights[lightIndex].missingShots;
            flagMissingShots(lightIndex);
        }
    }
}

void LampRow::flagMissingShots(qsizetype lightIndex)
{
    QPushButton* button = assignmentButton(lightIndex);
    const QStringList missing = m_missingShots.value(lightIndex);
    // The tooltip carries the whole title: long names are cut in the button.
    const QString title = assignmentTitle(m_tallyMap.shotSelection(lightIndex));
    if (missing.isEmpty()) {
        button->setIcon(QIcon());
        button->setToolTip(title);
        return;
    }
    // The title stays the assignment's; the sign says at a glance that the
    // light can never light for some of its shots, the tooltip which.
    button->setIcon(button->style()->standardIcon(QStyle::SP_MessageBoxWarning));
    button->setToolTip(tr("%1\nNot among the source's shots, so they cannot light this light: %2")
                           .arg(title, missing.join(QStringLiteral(", "))));
}

QString LampRow::lampShotText(qsizetype lightIndex, TallyMode mode, const QStringList& showing) const
{
    const bool several = lightIndex >= 0 && lightIndex < m_tallyMap.shotSelections().size()
        && m_tallyMap.shotSelection(lightIndex).size() > 1;
    if (mode == TallyMode::off || showing.isEmpty() || !several) {
        return shotNamesOfLight(lightIndex);
    }
    return showing.join(QStringLiteral(", "));
}

QString LampRow::shotNamesOfLight(qsizetype lightIndex) const
{
    QStringList names;
    if (lightIndex >= 0 && lightIndex < m_tallyMap.shotSelections().size()) {
        for (const ShotPtr& shot : m_tallyMap.shotSelection(lightIndex)) {
            names.append(shot->name);
        }
    }
    return names.join(QStringLiteral(", "));
}

void LampRow::showLampShotNames()
{
    // The large style shows the shots inside the lamp; an assignment made
    // while the switcher is away shows there at once, not at the next tick.
    for (qsizetype lightIndex = 0; lightIndex < m_displays.size(); ++lightIndex) {
        TallyState* display = m_displays[lightIndex];
        const QString names = shotNamesOfLight(lightIndex);
        if (display == nullptr || display->shotNames == names) {
            continue;
        }
        display->shotNames = names;
        if (display->glanceable) {
            display->update();
        }
    }
}

void LampRow::applyLargeLampLabels(bool large)
{
    m_largeLampLabels = large;
    for (qsizetype lightIndex = 0; lightIndex < m_displays.size(); ++lightIndex) {
        TallyState* display = m_displays[lightIndex];
        if (display == nullptr) {
            continue;
        }
        display->glanceable = large;
        const int smallHeight = m_smallLampHeights.value(lightIndex, display->minimumHeight());
        display->setMinimumHeight(large ? std::max(smallHeight, LampLabelLayout::naturalLampHeight()) : smallHeight);
        display->update();
    }
    // The number is inside the lamp now: the row above would say it twice.
    for (QLabel* number : std::as_const(m_numbers)) {
        number->setHidden(large);
    }
    showLampShotNames();
}
