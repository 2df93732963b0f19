#pragma once

// The stand-ins' script: commands read from standard input, one a line, as
// they come, and each carried out at once. A refused command is said on
// standard error with the program's name; "quit" ends the program; the end
// of the input leaves the stand-in serving, as a real switcher would, until
// it is stopped.
//
// Commands is the stand-in's own command table: its execute(line, &why)
// returns an Outcome of done, refused or quit.

#include <QCoreApplication>
#include <QSocketNotifier>
#include <QString>

#include <cstdio>
#include <unistd.h>

namespace StandinInput {

template<typename Commands> void follow(QCoreApplication& app, Commands& commands, const QString& program)
{
    auto* input = new QSocketNotifier(STDIN_FILENO, QSocketNotifier::Read, &app);
    QObject::connect(
        input, &QSocketNotifier::activated, &app, [&app, &commands, input, program, pending = QByteArray()]() mutable {
            char buffer[4096];
            const ssize_t count = ::read(STDIN_FILENO, buffer, sizeof buffer);
            if (count <= 0) {
                input->setEnabled(false);
                return;
            }
            pending.append(buffer, count);
            qsizetype end = 0;
            while ((end = pending.indexOf('\n')) >= 0) {
                const QString line = QString::fromUtf8(pending.left(end));
                pending.remove(0, end + 1);
                QString why;
                switch (commands.execute(line, &why)) {
                case Commands::Outcome::quit:
                    app.quit();
                    return;
                case Commands::Outcome::refused:
                    std::fprintf(stderr, "%s: %s\n", qPrintable(program), qPrintable(why));
                    std::fflush(stderr);
                    break;
                case Commands::Outcome::done:
                    break;
                }
            }
        });
}

} // namespace StandinInput
