#pragma once

#include <QByteArray>
#include <QList>
#include <QString>
#include <QStringList>

// The stand-in's picture of a vMix production: titled inputs numbered from
// 1, each with a key that stays the same across renames, one input on
// program and one on preview (or none), and whether it records and
// streams. It starts with nothing on program or preview, as a new
// production does, unless told otherwise.
class VmixModel {
public:
    struct Input {
        QString key;
        QString title;
    };

    explicit VmixModel(const QStringList& titles);

    const QList<Input>& inputs() const { return m_inputs; }
    int program() const { return m_program; }
    int preview() const { return m_preview; }
    bool recording() const { return m_recording; }
    bool streaming() const { return m_streaming; }

    // Each answers whether it changed anything; an input that does not
    // exist changes nothing.
    bool setProgram(int input);
    bool setPreview(int input);
    bool cut();
    bool rename(int input, const QString& title);
    bool setRecording(bool on);
    bool setStreaming(bool on);

    bool hasInput(int input) const;
    // The input a function's Input= names: its number, key or title; 0 for
    // none.
    int findInput(const QString& reference) const;

    // One digit per input: 0 off, 1 program, 2 preview.
    QByteArray tallyDigits() const;
    // The XML state document, as the TCP API's XML answer carries it.
    QByteArray xml() const;

private:
    QList<Input> m_inputs;
    int m_program = 0;
    int m_preview = 0;
    bool m_recording = false;
    bool m_streaming = false;
};
