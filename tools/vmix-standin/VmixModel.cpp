#include "VmixModel.h"

#include <QXmlStreamWriter>

VmixModel::VmixModel(const QStringList& titles)
{
    for (qsizetype i = 0; i < titles.size(); ++i) {
        // A key of the GUID form, the same for the same position every run,
        // so that a restarted stand-in keeps its keys as a reloaded
        // production does.
        m_inputs.append(
            Input { QStringLiteral("5eed0000-0000-4000-8000-%1").arg(i + 1, 12, 10, QLatin1Char('0')), titles[i] });
    }
}

bool VmixModel::hasInput(int input) const
{
    return input >= 1 && input <= m_inputs.size();
}

bool VmixModel::setProgram(int input)
{
    if (!hasInput(input) || input == m_program) {
        return false;
    }
    m_program = input;
    return true;
}

bool VmixModel::setPreview(int input)
{
    if (!hasInput(input) || input == m_preview) {
        return false;
    }
    m_preview = input;
    return true;
}

bool VmixModel::cut()
{
    if (m_program == m_preview) {
        return false;
    }
    std::swap(m_program, m_preview);
    return true;
}

bool VmixModel::rename(int input, const QString& title)
{
    if (!hasInput(input) || m_inputs[input - 1].title == title) {
        return false;
    }
    m_inputs[input - 1].title = title;
    return true;
}

bool VmixModel::setRecording(bool on)
{
    const bool changed = on != m_recording;
    m_recording = on;
    return changed;
}

bool VmixModel::setStreaming(bool on)
{
    const bool changed = on != m_streaming;
    m_streaming = on;
    return changed;
}

int VmixModel::findInput(const QString& reference) const
{
    bool isNumber = false;
    const int number = reference.toInt(&isNumber);
    if (isNumber) {
        return hasInput(number) ? number : 0;
    }
    for (qsizetype i = 0; i < m_inputs.size(); ++i) {
        if (m_inputs[i].key.compare(reference, Qt::CaseInsensitive) == 0 || m_inputs[i].title == reference) {
            return int(i + 1);
        }
    }
    return 0;
}

QByteArray VmixModel::tallyDigits() const
{
    QByteArray digits(m_inputs.size(), '0');
    if (hasInput(m_preview)) {
        digits[m_preview - 1] = '2';
    }
    // An input on both shows as program: it is on air.
    if (hasInput(m_program)) {
        digits[m_program - 1] = '1';
    }
    return digits;
}

QByteArray VmixModel::xml() const
{
    const auto yesNo = [](bool value) { return value ? QStringLiteral("True") : QStringLiteral("False"); };
    QByteArray document;
    QXmlStreamWriter writer(&document);
    writer.writeStartElement(QStringLiteral("vmix"));
    writer.writeTextElement(QStringLiteral("version"), QStringLiteral("1.0.0.0"));
    writer.writeTextElement(QStringLiteral("edition"), QStringLiteral("Stand-in"));
    writer.writeStartElement(QStringLiteral("inputs"));
    for (qsizetype i = 0; i < m_inputs.size(); ++i) {
        writer.writeStartElement(QStringLiteral("input"));
        writer.writeAttribute(QStringLiteral("key"), m_inputs[i].key);
        writer.writeAttribute(QStringLiteral("number"), QString::number(i + 1));
        writer.writeAttribute(QStringLiteral("type"), QStringLiteral("Capture"));
        writer.writeAttribute(QStringLiteral("title"), m_inputs[i].title);
        writer.writeAttribute(QStringLiteral("shortTitle"), m_inputs[i].title);
        writer.writeAttribute(QStringLiteral("state"), QStringLiteral("Running"));
        writer.writeCharacters(m_inputs[i].title);
        writer.writeEndElement();
    }
    writer.writeEndElement();
    writer.writeEmptyElement(QStringLiteral("overlays"));
    writer.writeTextElement(QStringLiteral("preview"), QString::number(m_preview));
    writer.writeTextElement(QStringLiteral("active"), QString::number(m_program));
    writer.writeTextElement(QStringLiteral("fadeToBlack"), yesNo(false));
    writer.writeTextElement(QStringLiteral("recording"), yesNo(m_recording));
    writer.writeTextElement(QStringLiteral("external"), yesNo(false));
    writer.writeTextElement(QStringLiteral("streaming"), yesNo(m_streaming));
    writer.writeEndElement();
    return document;
}
