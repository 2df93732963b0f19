#include "vmix/VmixFeedProtocol.h"

#include <QXmlStreamWriter>

namespace VmixFeedProtocol {

bool speaksForTheSwitcher(const TallySnapshot& snapshot)
{
    return !snapshot.switcherUnknown();
}

namespace {

QByteArray line(const QByteArray& text)
{
    return text + QByteArrayLiteral("\r\n");
}

char digitOf(TallyMode mode)
{
    switch (mode) {
    case TallyMode::live:
        return '1';
    case TallyMode::preview:
        return '2';
    case TallyMode::off:
        break;
    }
    return '0';
}

// The first light (from 1) showing mode; 0 when none does.
int firstLightIn(const TallySnapshot& snapshot, TallyMode mode)
{
    for (qsizetype i = 0; i < snapshot.lights.size(); ++i) {
        if (snapshot.lights[i].mode == mode) {
            return int(i + 1);
        }
    }
    return 0;
}

QString titleOf(const LightState& light, qsizetype index)
{
    if (light.shotNames.isEmpty()) {
        return QStringLiteral("Light %1").arg(index + 1);
    }
    return light.shotNames.join(QStringLiteral(" + "));
}

void subscription(const QByteArray& command, QByteArrayView topic, Effect effect, Answer* answer)
{
    if (QByteArray(topic.data(), topic.size()).trimmed().toUpper() != "TALLY") {
        answer->bytes = line(command + " ER Only TALLY can be subscribed to here");
        return;
    }
    answer->effect = effect;
    answer->bytes = line(command + " OK TALLY");
}

} // namespace

QByteArray tallyDigits(const TallySnapshot& snapshot)
{
    QByteArray digits;
    digits.reserve(snapshot.lights.size());
    for (const LightState& light : snapshot.lights) {
        digits.append(digitOf(light.mode));
    }
    return digits;
}

QByteArray tallyLine(const TallySnapshot& snapshot)
{
    return line("TALLY OK " + tallyDigits(snapshot));
}

QByteArray xmlDocument(const TallySnapshot& snapshot)
{
    // The feed has no recorder nor stream of its own: those say False, as
    // receivers that read the general state expect the elements.
    const QString no = QStringLiteral("False");
    QByteArray document;
    QXmlStreamWriter writer(&document);
    writer.writeStartElement(QStringLiteral("vmix"));
    writer.writeTextElement(QStringLiteral("version"), QStringLiteral("1.0.0.0"));
    writer.writeTextElement(QStringLiteral("edition"), QStringLiteral("Tally feed"));
    writer.writeStartElement(QStringLiteral("inputs"));
    for (qsizetype i = 0; i < snapshot.lights.size(); ++i) {
        const QString title = titleOf(snapshot.lights[i], i);
        writer.writeStartElement(QStringLiteral("input"));
        writer.writeAttribute(QStringLiteral("key"), QStringLiteral("light-%1").arg(i + 1));
        writer.writeAttribute(QStringLiteral("number"), QString::number(i + 1));
        writer.writeAttribute(QStringLiteral("type"), QStringLiteral("Capture"));
        writer.writeAttribute(QStringLiteral("title"), title);
        writer.writeAttribute(QStringLiteral("shortTitle"), title);
        writer.writeAttribute(QStringLiteral("state"), QStringLiteral("Running"));
        writer.writeCharacters(title);
        writer.writeEndElement();
    }
    writer.writeEndElement();
    writer.writeEmptyElement(QStringLiteral("overlays"));
    writer.writeTextElement(QStringLiteral("preview"), QString::number(firstLightIn(snapshot, TallyMode::preview)));
    writer.writeTextElement(QStringLiteral("active"), QString::number(firstLightIn(snapshot, TallyMode::live)));
    writer.writeTextElement(QStringLiteral("fadeToBlack"), no);
    writer.writeTextElement(QStringLiteral("recording"), no);
    writer.writeTextElement(QStringLiteral("external"), no);
    writer.writeTextElement(QStringLiteral("streaming"), no);
    writer.writeEndElement();
    return document;
}

Answer answer(QByteArrayView request, const TallySnapshot& snapshot)
{
    Answer result;
    const QByteArray text(request.data(), request.size());
    const qsizetype space = text.indexOf(' ');
    const QByteArray command = space < 0 ? text : text.left(space);
    const QByteArrayView rest = space < 0 ? QByteArrayView() : request.sliced(space + 1);
    const QByteArray upper = command.toUpper();
    if (upper == "TALLY") {
        result.bytes = tallyLine(snapshot);
    } else if (upper == "XML") {
        // The length counts the line end that follows the document, as
        // vMix's does.
        const QByteArray document = xmlDocument(snapshot) + QByteArrayLiteral("\r\n");
        result.bytes = line("XML " + QByteArray::number(document.size())) + document;
    } else if (upper == "SUBSCRIBE") {
        subscription(command, rest, Effect::subscribe, &result);
    } else if (upper == "UNSUBSCRIBE") {
        subscription(command, rest, Effect::unsubscribe, &result);
    } else if (upper == "QUIT") {
        result.effect = Effect::quit;
        result.bytes = line("QUIT OK Bye");
    } else {
        // Only the command goes back, and only so much of it: the error
        // line must stay a line whatever the client sent.
        result.bytes = line(command.left(64) + " ER Unknown command");
    }
    return result;
}

QList<QByteArray> LineReader::feed(QByteArrayView bytes)
{
    QList<QByteArray> lines;
    if (m_overflowed) {
        return lines;
    }
    m_pending.append(bytes);
    qsizetype start = 0;
    qsizetype end = 0;
    while ((end = m_pending.indexOf('\n', start)) >= 0) {
        QByteArray request = m_pending.mid(start, end - start);
        start = end + 1;
        if (request.endsWith('\r')) {
            request.chop(1);
        }
        if (request.size() > maxLineBytes) {
            m_overflowed = true;
            m_pending.clear();
            return lines;
        }
        if (!request.isEmpty()) {
            lines.append(request);
        }
    }
    m_pending.remove(0, start);
    // Room for the longest line's CR, whose LF is yet to come.
    const bool tooLong
        = m_pending.size() > maxLineBytes + 1 || (m_pending.size() == maxLineBytes + 1 && !m_pending.endsWith('\r'));
    if (tooLong) {
        m_overflowed = true;
        m_pending.clear();
    }
    return lines;
}

} // namespace VmixFeedProtocol
