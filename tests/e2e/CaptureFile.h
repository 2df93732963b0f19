#pragma once

// Reads what the capture tally box received: one line of 128 hex digits per
// report, the command byte first.
//
// A tick is eight pairs, lights 1 to 8 in order, each light's program byte
// then its preview byte. A box that falls behind (the writer's thread starved
// on a loaded machine, say) is brought to the latest state by skipping the
// pairs it no longer needs, so whole ticks are found by their light numbers,
// not by counting reports from the start: one skipped pair must not shift
// every tick after it.

#include <QByteArray>
#include <QFile>
#include <QList>

struct CaptureFile {
    QString path;

    QList<QByteArray> lines() const
    {
        QFile file(path);
        if (!file.open(QIODevice::ReadOnly)) {
            return {};
        }
        QList<QByteArray> complete;
        for (const QByteArray& line : file.readAll().split('\n')) {
            if (line.size() == 128) {
                complete.append(line);
            }
        }
        return complete;
    }

    // The command bytes, two hex digits each, of every whole tick so far.
    // Reports outside a whole tick (a pair skipped by a box that fell
    // behind, the test panel's single bytes) are left out.
    QList<QByteArray> ticks() const
    {
        const QList<QByteArray> all = lines();
        QList<QByteArray> result;
        qsizetype first = 0;
        while (first + reportsPerTick <= all.size()) {
            if (isWholeTickAt(all, first)) {
                result.append(tickAt(all, first));
                first += reportsPerTick;
            } else {
                ++first;
            }
        }
        return result;
    }

    // Whether the last reports received make a whole tick: the box was not
    // left halfway through one.
    bool endsOnWholeTick() const
    {
        const QList<QByteArray> all = lines();
        return all.size() >= reportsPerTick && isWholeTickAt(all, all.size() - reportsPerTick);
    }

private:
    static constexpr qsizetype reportsPerTick = 16;

    static int commandByte(const QByteArray& line) { return line.left(2).toInt(nullptr, 16); }

    static bool isWholeTickAt(const QList<QByteArray>& all, qsizetype first)
    {
        for (int light = 1; light <= reportsPerTick / 2; ++light) {
            const int program = commandByte(all[first + 2 * (light - 1)]);
            const int preview = commandByte(all[first + 2 * (light - 1) + 1]);
            const bool programByte = (program & 0xF0) == 0x00 || (program & 0xF0) == 0xB0;
            const bool previewByte = (preview & 0xF0) == 0x20 || (preview & 0xF0) == 0xD0;
            if (!programByte || !previewByte || (program & 0x0F) != light || (preview & 0x0F) != light) {
                return false;
            }
        }
        return true;
    }

    static QByteArray tickAt(const QList<QByteArray>& all, qsizetype first)
    {
        QByteArray tick;
        for (qsizetype i = first; i < first + reportsPerTick; ++i) {
            tick += (tick.isEmpty() ? "" : " ") + all[i].left(2);
        }
        return tick;
    }
};
