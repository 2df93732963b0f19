#pragma once

#include "StandinServer.h"
#include "SwitcherModel.h"

#include <QObject>
#include <QString>
#include <QTimer>

// The stand-in's script language, one command a line:
//   program N | preview N    put input N on the bus
//   cut                      swap program and preview at once
//   auto [MILLISECONDS]      mix preview into program over a while (500 ms)
//   rename N NAME            give input N a new long name (none: empty)
//   keyer on N | keyer off   the upstream keyer with input N on air, or off
//   record on | record off   the recorder recording, or idle
//   stream on | stream off   the live stream on air, or idle
//   drop PERCENT             lose that share of the datagrams sent
//   reorder PERCENT          send that share after the datagram that follows
//   quit
// Every change goes to every connected client at once.
class StandinCommands : public QObject {
    Q_OBJECT

public:
    enum class Outcome {
        done,
        quit,
        refused,
    };

    static constexpr int defaultAutoMs = 500;

    StandinCommands(SwitcherModel& model, StandinServer& server, QObject* parent = nullptr);

    // problem: why a refused line was refused.
    Outcome execute(const QString& line, QString* problem);

private:
    void announce();
    void finishAuto();

    SwitcherModel& m_model;
    StandinServer& m_server;
    QTimer m_autoTimer;
};
