#pragma once

// An independent subscriber for whole-process tests: mosquitto_sub (Debian
// mosquitto-clients), printing each message as
// "RETAINED TOPIC PAYLOAD" (RETAINED is 1 for a message the broker kept,
// 0 for one passed on as it came).

#include "support/Eventually.h"

#include <QProcess>
#include <QString>
#include <QStringList>

#include <algorithm>

class MqttSubscriber {
public:
    ~MqttSubscriber()
    {
        if (m_process.state() != QProcess::NotRunning) {
            m_process.kill();
            m_process.waitForFinished();
        }
    }

    // Subscribes to topic; extra arguments add a login or TLS.
    bool start(quint16 port, const QString& topic, const QStringList& extra = {})
    {
        m_process.start(QStringLiteral("mosquitto_sub"),
            QStringList { QStringLiteral("-h"), QStringLiteral("127.0.0.1"), QStringLiteral("-p"),
                QString::number(port), QStringLiteral("-q"), QStringLiteral("1"), QStringLiteral("-F"),
                QStringLiteral("%r %t %p"), QStringLiteral("-t"), topic }
                + extra);
        return m_process.waitForStarted(5000);
    }

    // Whether a line reading exactly line has come.
    bool saw(const QString& line)
    {
        read();
        return m_lines.contains(line);
    }
    // Whether a line starting with start has come.
    bool sawStart(const QString& start)
    {
        read();
        return std::any_of(m_lines.cbegin(), m_lines.cend(), [&](const QString& l) { return l.startsWith(start); });
    }
    QStringList lines()
    {
        read();
        return m_lines;
    }
    void clear()
    {
        read();
        m_lines.clear();
    }
    // What the broker holds under topic now, one "TOPIC PAYLOAD" line per
    // retained message: what a lamp that connects now would get. A passing
    // message sent to topic + "/probe" after the subscription marks the end
    // of the retained ones (mosquitto_sub --retained-only stops at it);
    // nothing when the broker does not answer.
    static QStringList retainedAt(quint16 port, const QString& topic)
    {
        QProcess sub;
        const QStringList common { QStringLiteral("-h"), QStringLiteral("127.0.0.1"), QStringLiteral("-p"),
            QString::number(port), QStringLiteral("-q"), QStringLiteral("1") };
        sub.start(QStringLiteral("mosquitto_sub"),
            common
                + QStringList { QStringLiteral("--retained-only"), QStringLiteral("-F"), QStringLiteral("%t %p"),
                    QStringLiteral("-t"), topic + QStringLiteral("/#") });
        if (!sub.waitForStarted(5000)) {
            return {};
        }
        // A probe sent before the subscription is in place goes unseen: it
        // is sent again until one ends the subscriber.
        const bool ended = eventually(
            [&] {
                QProcess::execute(QStringLiteral("mosquitto_pub"),
                    common
                        + QStringList { QStringLiteral("-t"), topic + QStringLiteral("/probe"), QStringLiteral("-m"),
                            QStringLiteral("probe") });
                return sub.waitForFinished(100);
            },
            10000);
        if (!ended) {
            sub.kill();
            sub.waitForFinished();
            return {};
        }
        return QString::fromUtf8(sub.readAllStandardOutput()).split(QLatin1Char('\n'), Qt::SkipEmptyParts);
    }

    QString everything()
    {
        read();
        return m_lines.join(QLatin1Char('\n')) + QLatin1Char('\n')
            + QString::fromUtf8(m_process.readAllStandardError());
    }

private:
    void read()
    {
        m_pending += m_process.readAllStandardOutput();
        qsizetype end = 0;
        while ((end = m_pending.indexOf('\n')) >= 0) {
            m_lines.append(QString::fromUtf8(m_pending.left(end)));
            m_pending.remove(0, end + 1);
        }
    }

    QProcess m_process;
    QByteArray m_pending;
    QStringList m_lines;
};
