#include "link/ShotDecoder.h"

#include "base/FatalError.h"
#include "base/Problem.h"
#include "base/StandardOutput.h"
#include "base/Text.h"

namespace {

const QString shotIdLabel = QStringLiteral("shotId");
const QString shotNameLabel = QStringLiteral("shotName");
const QString isLiveLabel = QStringLiteral("isLive");
const QString isPreviewLabel = QStringLiteral("isPreview");

// An answer of the wrong shape, thrown from deep inside the walk and caught
// once at its top, where it becomes the reported problem.
struct WrongShape {
    QString what;
};

// The messages are spelled out only when the shape is wrong: building them
// for every item would cost more than the whole decoding.
[[noreturn]] void stop(const char* what, qsizetype item, qsizetype shot)
{
    throw WrongShape { QString::fromLatin1(what).arg(item).arg(
        QStringLiteral("shot %1 of the query answer").arg(shot)) };
}

AppleEventDescriptor itemOf(const AppleEventDescriptor& descriptor, qsizetype item, qsizetype shot, const char* what)
{
    std::optional<AppleEventDescriptor> found = descriptor.descriptorAtIndex(item);
    if (!found) {
        stop(what, item, shot);
    }
    return std::move(*found);
}

QString textOf(const AppleEventDescriptor& descriptor, qsizetype item, qsizetype shot, const char* what)
{
    std::optional<QString> text = descriptor.stringValue();
    if (!text) {
        stop(what, item, shot);
    }
    return std::move(*text);
}

void setField(Mixdesk::Shot& shot, const QString& label, const AppleEventDescriptor& value, qsizetype valueItem,
    qsizetype index, const std::function<void(const QString&)>& unexpectedLabel)
{
    if (Text::equal(label, shotIdLabel)) {
        shot.shotId = textOf(value, valueItem, index, "the shotId value (item %1) of %2 has no text value");
    } else if (Text::equal(label, shotNameLabel)) {
        shot.name = textOf(value, valueItem, index, "the shotName value (item %1) of %2 has no text value");
    } else if (Text::equal(label, isLiveLabel)) {
        shot.isLive = value.booleanValue();
    } else if (Text::equal(label, isPreviewLabel)) {
        shot.isPreview = value.booleanValue();
    } else {
        unexpectedLabel(label);
    }
}

Mixdesk::ShotPtr decodeShot(
    const AppleEventDescriptor& result, qsizetype index, const std::function<void(const QString&)>& unexpectedLabel)
{
    auto shot = std::make_shared<Mixdesk::Shot>(QString());
    const AppleEventDescriptor record = itemOf(result, index, index, "item %1 of the query answer (%2) is missing");
    const AppleEventDescriptor fields
        = itemOf(record, 1, index, "%2 has no item %1 (a record of user-defined labels was expected)");
    const qsizetype count = fields.numberOfItems();
    if (count < 2) {
        return shot;
    }
    // Label and value alternate; an odd last label has no value and is ignored.
    qsizetype j = 1;
    do {
        const AppleEventDescriptor label = itemOf(fields, j, index, "label %1 of %2 is missing");
        const AppleEventDescriptor value = itemOf(fields, j + 1, index, "value %1 of %2 is missing");
        const QString labelText = textOf(label, j, index, "label %1 of %2 has no text value");
        setField(*shot, labelText, value, j + 1, index, unexpectedLabel);
        j += 2;
    } while (j < count);
    return shot;
}

} // namespace

std::optional<Mixdesk::ShotList> decodeShotsChecked(const AppleEventDescriptor& result,
    const std::function<void(const QString& label)>& unexpectedLabel, QString* problem)
{
    Mixdesk::ShotList shots;
    const qsizetype count = result.numberOfItems();
    if (count < 2) {
        return shots;
    }
    shots.reserve(count);
    try {
        for (qsizetype i = 1; i <= count; ++i) {
            shots.append(decodeShot(result, i, unexpectedLabel));
        }
    } catch (const WrongShape& wrong) {
        reportProblem(problem, wrong.what);
        return std::nullopt;
    }
    return shots;
}

Mixdesk::ShotList decodeShots(const AppleEventDescriptor& result)
{
    QString problem;
    std::optional<Mixdesk::ShotList> shots = decodeShotsChecked(
        result, [](const QString& label) { printLine(QStringLiteral("unexpected record attribute ") + label); },
        &problem);
    if (!shots) {
        fatalError(problem);
    }
    return std::move(*shots);
}
