#include "lamps/BigTallyView.h"

#include "lamps/TallyState.h"
#include "tally/LampMark.h"
#include "tallymap/TallyMap.h"

#include <QCloseEvent>
#include <QGridLayout>
#include <QKeyEvent>
#include <QLabel>

namespace {

constexpr int lampsPerRow = 4;

} // namespace

BigTallyView::BigTallyView(QWidget* parent)
    : QWidget(parent, Qt::Window)
{
    setObjectName(QStringLiteral("bigTallyView"));
    setWindowTitle(tr("Big Tally"));
    // A dark surround, so only the lit lamps draw the eye.
    setAutoFillBackground(true);
    QPalette dark = palette();
    dark.setColor(QPalette::Window, QColor(0x20, 0x20, 0x20));
    setPalette(dark);
    auto* grid = new QGridLayout(this);
    grid->setSpacing(16);
    grid->setContentsMargins(16, 16, 16, 16);
    m_banner = new QLabel(this);
    m_banner->setObjectName(QStringLiteral("bigTallyBanner"));
    m_banner->setAlignment(Qt::AlignCenter);
    m_banner->setStyleSheet(QStringLiteral("QLabel { background: #202020; color: #ffc400; font-weight: bold;"
                                           " font-size: 32px; border: 3px dashed #ffc400; padding: 6px; }"));
    m_banner->hide();
    grid->addWidget(m_banner, 0, 0, 1, lampsPerRow);
    for (int lightIndex = 0; lightIndex < TallyMap::numberOfLights; ++lightIndex) {
        auto* lamp = new TallyState(this);
        lamp->setObjectName(QStringLiteral("bigLamp%1").arg(lightIndex + 1));
        lamp->glanceable = true;
        lamp->lightNumber = lightIndex + 1;
        lamp->setMinimumSize(160, 120);
        lamp->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
        grid->addWidget(lamp, 1 + lightIndex / lampsPerRow, lightIndex % lampsPerRow);
        m_lamps.append(lamp);
    }
}

void BigTallyView::showLight(qsizetype lightIndex, TallyMode mode, const QString& shotNames)
{
    if (lightIndex < 0 || lightIndex >= m_lamps.size() || !m_lamps[lightIndex]) {
        return; // a map with more lights than lamps: the window shows them
    }
    TallyState* lamp = m_lamps[lightIndex];
    if (lamp->mode == mode && lamp->shotNames == shotNames) {
        return;
    }
    lamp->mode = mode;
    lamp->shotNames = shotNames;
    lamp->update();
}

void BigTallyView::showReport(const TallySnapshot& snapshot, qint64 nowMilliseconds)
{
    const LampMark mark = LampMarks::markFor(snapshot);
    const QString detail = mark == LampMark::lost ? LampMarks::lostFor(snapshot, nowMilliseconds) : QString();
    for (qsizetype lightIndex = 0; lightIndex < m_lamps.size(); ++lightIndex) {
        if (TallyState* lamp = m_lamps[lightIndex]) {
            const LampMark own = LampMarks::markForLightOrMissing(snapshot, lightIndex);
            if (own == LampMark::missing) {
                lamp->showMark(own, snapshot.lights[lightIndex].missingShots.join(QStringLiteral(", ")));
            } else {
                lamp->showMark(own, own == mark ? detail : QString());
            }
        }
    }
    const QString banner = LampMarks::banner(snapshot, nowMilliseconds);
    m_banner->setText(banner);
    m_banner->setHidden(banner.isEmpty());
}

QString BigTallyView::banner() const
{
    return m_banner->isHidden() ? QString() : m_banner->text();
}

void BigTallyView::keyPressEvent(QKeyEvent* event)
{
    if (event->key() == Qt::Key_Escape || event->key() == Qt::Key_F11) {
        close();
        return;
    }
    QWidget::keyPressEvent(event);
}

void BigTallyView::closeEvent(QCloseEvent* event)
{
    QWidget::closeEvent(event);
    Q_EMIT closed();
}
