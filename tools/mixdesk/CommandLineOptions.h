#pragma once

#include <QString>
#include <QStringList>

// What the stand-in was asked to do on its command line.
struct CommandLineOptions {
    enum class Action { Run, ShowHelp, Fail };

    Action action = Action::Run;
    // With Fail: what was wrong, for one line on standard error.
    QString error;

    bool headless = false;
    // Empty: the default shots.
    QString shotsFile;
    // 0: no auto-cut at start.
    int autoCutSeconds = 0;
    // The shot (from 1, as the user counts) that starts on program or in
    // preview; 0: that bus starts empty. Whether the show has that many
    // shots is known only once its shots are read.
    int programShot = 0;
    int previewShot = 0;

    // `arguments` starts with the program name, as QCoreApplication gives
    // it. Needs no application object, so that the choice between a window
    // and none can be made before one is created.
    static CommandLineOptions parse(const QStringList& arguments);

    static QString helpText();
};
