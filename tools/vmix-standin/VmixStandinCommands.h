#pragma once

#include "VmixModel.h"
#include "VmixStandinServer.h"

#include <QString>

// The stand-in's script language, one command a line:
//   program N | preview N    put input N on program or preview
//   cut                      swap program and preview
//   rename N NAME            give input N a new title
//   record on|off            start or stop recording
//   stream on|off            start or stop streaming
//   drop                     close every client's connection
//   quit
// A tally change goes to every subscribed client at once; a rename or an
// output's change is read by clients from the XML state.
class VmixStandinCommands {
public:
    enum class Outcome {
        done,
        quit,
        refused,
    };

    VmixStandinCommands(VmixModel& model, VmixStandinServer& server);

    // problem: why a refused line was refused.
    Outcome execute(const QString& line, QString* problem);

private:
    Outcome inputCommand(const QString& verb, const QString& argument, QString* problem);
    Outcome switchCommand(const QString& verb, const QString& argument, QString* problem);

    VmixModel& m_model;
    VmixStandinServer& m_server;
};
