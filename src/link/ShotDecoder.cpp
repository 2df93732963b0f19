#include "link/ShotDecoder.h"

#include "core/FatalError.h"
#include "core/StandardOutput.h"
#include "core/Text.h"

namespace {

const QString shotIdLabel = QStringLiteral("shotId");
const QString shotNameLabel = QStringLiteral("shotName");
const QString isLiveLabel = QStringLiteral("isLive");
const QString isPreviewLabel = QStringLiteral("isPreview");

struct Problem {
    QString what;
};

AppleEventDescriptor itemOf(const AppleEventDescriptor& descriptor, qsizetype index, const QString& what)
{
    std::optional<AppleEventDescriptor> item = descriptor.descriptorAtIndex(index);
    if (!item) {
        throw Problem { what };
    }
    return std::move(*item);
}

QString textOf(const AppleEventDescriptor& descriptor, const QString& what)
{
    std::optional<QString> text = descriptor.stringValue();
    if (!text) {
        throw Problem { what };
    }
    return std::move(*text);
}

void setField(Mixdesk::Shot& shot, const QString& label, const AppleEventDescriptor& value, const QString& where,
    const std::function<void(const QString&)>& unexpectedLabel)
{
    if (Text::equal(label, shotIdLabel)) {
        shot.shotId = textOf(value, QStringLiteral("the shotId value of %1 has no text value").arg(where));
    } else if (Text::equal(label, shotNameLabel)) {
        shot.name = textOf(value, QStringLiteral("the shotName value of %1 has no text value").arg(where));
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
    const QString where = QStringLiteral("shot %1 of the query answer").arg(index);
    auto shot = std::make_shared<Mixdesk::Shot>(QString());
    const AppleEventDescriptor record = itemOf(result, index, QStringLiteral("%1 is missing").arg(where));
    const AppleEventDescriptor fields = itemOf(
        record, 1, QStringLiteral("%1 has no item 1 (a record of user-defined labels was expected)").arg(where));
    const qsizetype count = fields.numberOfItems();
    if (count < 2) {
        return shot;
    }
    // Label and value alternate; an odd last label has no value and is ignored.
    qsizetype j = 1;
    do {
        const AppleEventDescriptor label
            = itemOf(fields, j, QStringLiteral("label %1 of %2 is missing").arg(j).arg(where));
        const AppleEventDescriptor value
            = itemOf(fields, j + 1, QStringLiteral("value %1 of %2 is missing").arg(j + 1).arg(where));
        const QString labelText = textOf(label, QStringLiteral("label %1 of %2 has no text value").arg(j).arg(where));
        setField(*shot, labelText, value, where, unexpectedLabel);
        j += 2;
    } while (j < count);
    return shot;
}

} // namespace

ShotDecoding decodeShotsChecked(
    const AppleEventDescriptor& result, const std::function<void(const QString& label)>& unexpectedLabel)
{
    ShotDecoding decoding;
    const qsizetype count = result.numberOfItems();
    if (count < 2) {
        return decoding;
    }
    decoding.shots.reserve(count);
    try {
        for (qsizetype i = 1; i <= count; ++i) {
            decoding.shots.append(decodeShot(result, i, unexpectedLabel));
        }
    } catch (const Problem& problem) {
        decoding.shots.clear();
        decoding.problem = problem.what;
    }
    return decoding;
}

Mixdesk::ShotList decodeShots(const AppleEventDescriptor& result)
{
    ShotDecoding decoding = decodeShotsChecked(
        result, [](const QString& label) { printLine(QStringLiteral("unexpected record attribute ") + label); });
    if (decoding.problem) {
        fatalError(*decoding.problem);
    }
    return std::move(decoding.shots);
}
