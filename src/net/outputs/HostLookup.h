#pragma once

#include <QHostAddress>
#include <QObject>
#include <QString>

#include <functional>

// Where a UDP output sends: the destination's address at once when its host
// is written as one, else the first address a background look-up of the name
// finds. A failed look-up is reported in words and tried again when the
// output next asks (its repeat, about once a second), never in a loop of
// its own; sending waits for an address rather than for the look-up.
class HostLookup : public QObject {
public:
    // report: a failed look-up, in words ("cannot find HOST (WHY); trying
    // again every second").
    HostLookup(QString host, std::function<void(const QString& failure)> report, QObject* parent = nullptr);

    // The address; null until a look-up found one.
    const QHostAddress& address() const { return m_address; }

    // Starts another look-up while there is no address and none is under
    // way.
    void retryIfUnknown();

private:
    void lookUp();

    QString m_host;
    std::function<void(const QString&)> m_report;
    QHostAddress m_address;
    bool m_lookingUp = false;
};
