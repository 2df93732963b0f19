#pragma once

#include "model/TallyMode.h"
#include "model/TallySnapshot.h"

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <optional>

// How the lights sit in a DMX universe of 512 channels: light 1 from the
// start channel, each light taking the next channels.
//   rgb:    three channels a light, for colour fixtures and LED bars:
//           live 255,0,0, preview 0,255,0, off 0,0,0.
//   single: one channel a light, for dimmers and single lamps:
//           live 255, preview 128, off 0.
// Every one of the program's lights has its channels, so that a map with
// more lights later does not move any of them.
class DmxLayout {
public:
    enum class Kind { rgb, single };

    static constexpr int universeSize = 512;

    // "rgb" or "single"; nothing for any other word.
    static std::optional<Kind> kindNamed(const QString& name);
    static QString nameOf(Kind kind);
    static QStringList kindNames();

    // The layout, or nothing with the reason when the lights' channels do
    // not fit the universe from startChannel (counted from 1).
    static std::optional<DmxLayout> make(Kind kind, int startChannel, int lightCount, QString* problem);

    Kind kind() const { return m_kind; }
    int startChannel() const { return m_startChannel; }
    int channelsPerLight() const { return m_kind == Kind::rgb ? 3 : 1; }
    // The last start channel at which lightCount lights of kind still fit.
    static int lastStartChannel(Kind kind, int lightCount);

    // The channel levels of one light in mode.
    QByteArray levelsOf(TallyMode mode) const;
    // The whole universe, 512 levels, for the lights' modes as the snapshot
    // gives them (what the tally box shows); a light the snapshot lacks is
    // off, and so is every channel outside the layout.
    QByteArray universe(const TallySnapshot& snapshot) const;

private:
    DmxLayout(Kind kind, int startChannel, int lightCount);

    Kind m_kind = Kind::rgb;
    int m_startChannel = 1;
    int m_lightCount = 0;
};
