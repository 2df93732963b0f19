#include "outputs/WebTallyDocument.h"

#include "model/LightJson.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

namespace {

// What the page shows when the source is lost: the lights' last modes would
// be stale, so each light says so instead.
// Whether the page may show a light's colour: while the source is lost it
// would be stale, unless the test panel drives the box, whose lamps the
// colour then shows.
bool showsColour(const TallySnapshot& snapshot)
{
    return snapshot.sourceRunning || snapshot.underTest;
}

// The same for one light, which may rest on a switcher lost while others
// run.
bool showsColour(const TallySnapshot& snapshot, const LightState& light)
{
    return snapshot.underTest || (snapshot.sourceRunning && !light.sourceLost);
}

QString modeWord(const TallySnapshot& snapshot, const LightState& light)
{
    if (!showsColour(snapshot, light)) {
        return QStringLiteral("NO SIGNAL");
    }
    // The window's word for the mode; a dark light, which the window leaves
    // blank, is named in the list.
    const QString label = tallyModeLabel(light.mode);
    const QString word = label.isEmpty() ? QStringLiteral("OFF") : label;
    return snapshot.underTest ? QStringLiteral("TEST ") + word : word;
}

QString lookClass(const TallySnapshot& snapshot, const LightState& light)
{
    if (!showsColour(snapshot, light)) {
        return QStringLiteral("nosignal");
    }
    return snapshot.underTest ? tallyModeName(light.mode) + QStringLiteral(" test") : tallyModeName(light.mode);
}

QString missingText(const LightState& light)
{
    return light.missingShots.isEmpty() ? QString()
                                        : QStringLiteral("Missing: ") + light.missingShots.join(QStringLiteral(", "));
}

// The shots of a list item: their names, or that there are none, so that
// an empty light does not read as a page that failed to load.
QString shotsSpan(const LightState& light)
{
    if (light.shotNames.isEmpty()) {
        return QStringLiteral("<span class=\"shots noshots\">No shots assigned</span>");
    }
    return QStringLiteral("<span class=\"shots\">%1</span>")
        .arg(light.shotNames.join(QStringLiteral(", ")).toHtmlEscaped());
}

QString listItem(const TallySnapshot& snapshot, qsizetype index)
{
    const LightState& light = snapshot.lights[index];
    return QStringLiteral("<li><a href=\"/light/%1\" data-light=\"%1\" class=\"%2\">"
                          "<span class=\"number\">%1</span><span class=\"mode\">%3</span>"
                          "%4<span class=\"missing\">%5</span></a></li>\n")
        .arg(index + 1)
        .arg(lookClass(snapshot, light), modeWord(snapshot, light), shotsSpan(light),
            missingText(light).toHtmlEscaped());
}

} // namespace

QByteArray WebTallyDocument::stateJson(const TallySnapshot& snapshot)
{
    QJsonArray lights;
    for (qsizetype index = 0; index < snapshot.lights.size(); ++index) {
        lights.append(LightJson::fromState(static_cast<int>(index + 1), snapshot.lights[index]));
    }
    const QJsonObject state {
        { QStringLiteral("sourceRunning"), snapshot.sourceRunning },
        { QStringLiteral("test"), snapshot.underTest },
        { QStringLiteral("lights"), lights },
    };
    return QJsonDocument(state).toJson(QJsonDocument::Compact);
}

QByteArray WebTallyDocument::indexPage(const QString& pageTemplate, const TallySnapshot& snapshot)
{
    QString items;
    for (qsizetype index = 0; index < snapshot.lights.size(); ++index) {
        items += listItem(snapshot, index);
    }
    QString page = pageTemplate;
    page.replace(QStringLiteral("@SIGNAL@"), showsColour(snapshot) ? QString() : QStringLiteral(" nosignal"));
    page.replace(QStringLiteral("@LIGHTS@"), items);
    return page.toUtf8();
}

QByteArray WebTallyDocument::lightPage(const QString& pageTemplate, int lightNumber)
{
    QString page = pageTemplate;
    page.replace(QStringLiteral("@LIGHT@"), QString::number(lightNumber));
    return page.toUtf8();
}

int WebTallyDocument::lightNumberFromPath(const QString& number, qsizetype lightCount)
{
    // Digits only, no sign, no leading zero: one page per light, one address
    // per page.
    if (number.isEmpty() || number.size() > 3 || number.startsWith(QLatin1Char('0'))) {
        return 0;
    }
    for (const QChar character : number) {
        if (character < QLatin1Char('0') || character > QLatin1Char('9')) {
            return 0;
        }
    }
    const int value = number.toInt();
    return value <= lightCount ? value : 0;
}
