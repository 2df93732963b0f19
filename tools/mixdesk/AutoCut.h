#pragma once

#include <QObject>
#include <QTimer>

class ShowModel;

// Cuts the show every few seconds, so that a demo or a test of the tally
// lights runs without anyone at the switcher.
class AutoCut : public QObject {
    Q_OBJECT

public:
    explicit AutoCut(ShowModel& model, QObject* parent = nullptr);

    // The longest interval accepted, one hour: anything longer is a typo.
    static constexpr int maximumSeconds = 3600;

    // Cuts every `seconds` seconds from now on; 0 stops. A value outside 0
    // to maximumSeconds is a programming error: callers check user input.
    void setIntervalSeconds(int seconds);
    int intervalSeconds() const;
    bool isRunning() const;

Q_SIGNALS:
    void intervalChanged(int seconds);

private:
    ShowModel& m_model;
    QTimer m_timer;
    int m_seconds = 0;
};
