#pragma once

// Reads what the capture tally box received: one line of 128 hex digits per
// report, the command byte first.

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

    // The command bytes, two hex digits each, of every complete tick
    // (sixteen reports) so far.
    QList<QByteArray> ticks() const
    {
        const QList<QByteArray> all = lines();
        QList<QByteArray> result;
        for (qsizetype first = 0; first + 16 <= all.size(); first += 16) {
            QByteArray tick;
            for (qsizetype i = first; i < first + 16; ++i) {
                tick += (tick.isEmpty() ? "" : " ") + all[i].left(2);
            }
            result.append(tick);
        }
        return result;
    }
};
