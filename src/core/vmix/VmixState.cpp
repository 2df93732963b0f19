#include "vmix/VmixState.h"

#include "base/Problem.h"
#include "model/OnAirShot.h"

#include <QXmlStreamReader>

#include <algorithm>

namespace {

// An input's attributes, or nothing with the reason.
std::optional<VmixState::Input> readInput(const QXmlStreamAttributes& attributes, QString* problem)
{
    VmixState::Input input;
    bool isNumber = false;
    input.number = attributes.value(QLatin1String("number")).toInt(&isNumber);
    if (!isNumber || input.number < 1 || input.number > VmixState::maxInputs) {
        reportProblem(problem,
            QStringLiteral("an input has no number from 1 to %1 ('%2')")
                .arg(VmixState::maxInputs)
                .arg(attributes.value(QLatin1String("number")).left(16)));
        return std::nullopt;
    }
    input.key = attributes.value(QLatin1String("key")).toString();
    if (input.key.isEmpty()) {
        reportProblem(problem, QStringLiteral("input %1 has no key").arg(input.number));
        return std::nullopt;
    }
    input.title = attributes.value(QLatin1String("title")).toString();
    return input;
}

} // namespace

namespace VmixState {

std::optional<Document> parseXml(const QByteArray& xml, QString* problem)
{
    const auto fail = [problem](const QString& why) -> std::optional<Document> {
        reportProblem(problem, QStringLiteral("the XML state was refused: %1").arg(why));
        return std::nullopt;
    };
    if (xml.trimmed().isEmpty()) {
        return fail(QStringLiteral("it is empty"));
    }
    QXmlStreamReader reader(xml);
    Document document;
    // Names of the open elements, the root first.
    QList<QString> open;
    bool sawRoot = false;
    while (!reader.atEnd()) {
        switch (reader.readNext()) {
        case QXmlStreamReader::DTD:
            // Entities declared in a DTD could make a small document huge.
            return fail(QStringLiteral("it declares a document type"));
        case QXmlStreamReader::StartElement: {
            if (open.size() >= maxXmlDepth) {
                return fail(QStringLiteral("it nests deeper than %1 levels").arg(maxXmlDepth));
            }
            const QString name = reader.name().toString();
            if (open.isEmpty()) {
                if (name != QLatin1String("vmix")) {
                    return fail(QStringLiteral("its root is <%1>, not <vmix>").arg(name.left(32)));
                }
                sawRoot = true;
            } else if (open.size() == 1 && name == QLatin1String("recording")) {
                // Present, even empty, it tells the output is there; its
                // text says whether it runs.
                document.recording = false;
            } else if (open.size() == 1 && name == QLatin1String("streaming")) {
                document.streaming = false;
            } else if (open.size() == 2 && open[1] == QLatin1String("inputs") && name == QLatin1String("input")) {
                QString why;
                const std::optional<Input> input = readInput(reader.attributes(), &why);
                if (!input) {
                    return fail(why);
                }
                if (document.inputs.size() >= maxInputs) {
                    return fail(QStringLiteral("it has more than %1 inputs").arg(maxInputs));
                }
                document.inputs.append(*input);
            }
            open.append(name);
            break;
        }
        case QXmlStreamReader::EndElement:
            open.removeLast();
            break;
        case QXmlStreamReader::Characters:
            if (open.size() == 2 && !reader.isWhitespace()) {
                const QStringView text = reader.text().trimmed();
                const bool on = text.compare(QLatin1String("True"), Qt::CaseInsensitive) == 0;
                if (open[1] == QLatin1String("recording")) {
                    document.recording = *document.recording || on;
                } else if (open[1] == QLatin1String("streaming")) {
                    document.streaming = *document.streaming || on;
                }
            }
            break;
        default:
            break;
        }
    }
    if (reader.hasError()) {
        return fail(QStringLiteral("%1 (line %2)").arg(reader.errorString()).arg(reader.lineNumber()));
    }
    if (!sawRoot) {
        return fail(QStringLiteral("it is empty"));
    }
    std::stable_sort(document.inputs.begin(), document.inputs.end(),
        [](const Input& a, const Input& b) { return a.number < b.number; });
    for (qsizetype i = 1; i < document.inputs.size(); ++i) {
        if (document.inputs[i].number == document.inputs[i - 1].number) {
            return fail(QStringLiteral("input %1 is there twice").arg(document.inputs[i].number));
        }
    }
    return document;
}

std::optional<QList<Tally>> parseTally(const QByteArray& digits, QString* problem)
{
    if (digits.isEmpty()) {
        reportProblem(problem, QStringLiteral("a TALLY without digits was dropped"));
        return std::nullopt;
    }
    if (digits.size() > maxInputs) {
        reportProblem(problem,
            QStringLiteral("a TALLY of %1 digits was dropped (at most %2 inputs)").arg(digits.size()).arg(maxInputs));
        return std::nullopt;
    }
    QList<Tally> tally;
    tally.reserve(digits.size());
    for (const char digit : digits) {
        if (digit != '0' && digit != '1' && digit != '2') {
            reportProblem(problem, QStringLiteral("a TALLY with a character other than 0, 1 and 2 was dropped"));
            return std::nullopt;
        }
        tally.append(static_cast<Tally>(digit));
    }
    return tally;
}

ShotList shots(const Document& document, const QList<Tally>& tally)
{
    ShotList shots;
    shots.reserve(document.inputs.size() + 2);
    for (const Input& input : document.inputs) {
        auto shot = std::make_shared<Shot>(input.title);
        shot->shotId = OnAirShot::pictureId(input.key);
        const qsizetype index = input.number - 1;
        const Tally state = index < tally.size() ? tally[index] : Tally::off;
        shot->isLive = state == Tally::program;
        shot->isPreview = state == Tally::preview;
        shots.append(shot);
    }
    if (document.recording) {
        shots.append(OnAirShot::make(OnAirShot::Output::recording, *document.recording));
    }
    if (document.streaming) {
        shots.append(OnAirShot::make(OnAirShot::Output::streaming, *document.streaming));
    }
    return shots;
}

} // namespace VmixState
