#include "CommandInterpreter.h"

#include "AutoCut.h"
#include "ShowModel.h"
#include "base/StandardOutput.h"

#include <QStringList>

CommandInterpreter::CommandInterpreter(ShowModel& model, AutoCut& autoCut)
    : m_model(model)
    , m_autoCut(autoCut)
{
}

QString CommandInterpreter::usage()
{
    return QStringLiteral("  preview N        put shot N in preview\n"
                          "  program N        put shot N on program\n"
                          "  cut              swap program and preview\n"
                          "  rename N NAME    rename shot N (it keeps its id)\n"
                          "  add NAME         add a shot at the end of the list\n"
                          "  remove N         remove shot N\n"
                          "  autocut SECONDS  cut every SECONDS seconds (0 stops)\n"
                          "  list             print the shots\n"
                          "  quit             quit (so does the end of input)\n"
                          "N is the shot's position in the list, from 1.");
}

CommandInterpreter::Outcome CommandInterpreter::execute(const QString& line)
{
    const Words words = split(line);
    if (words.command.isEmpty()) {
        return Outcome::Continue;
    }
    if (words.command == QLatin1String("quit")) {
        return expectNothingAfter(words) ? Outcome::Quit : Outcome::Continue;
    }
    using Handler = void (CommandInterpreter::*)(const Words&);
    static const QList<std::pair<QLatin1String, Handler>> handlers = {
        { QLatin1String("preview"), &CommandInterpreter::preview },
        { QLatin1String("program"), &CommandInterpreter::program },
        { QLatin1String("cut"), &CommandInterpreter::cut },
        { QLatin1String("rename"), &CommandInterpreter::rename },
        { QLatin1String("add"), &CommandInterpreter::add },
        { QLatin1String("remove"), &CommandInterpreter::remove },
        { QLatin1String("autocut"), &CommandInterpreter::autoCut },
    };
    for (const auto& [name, handler] : handlers) {
        if (words.command == name) {
            (this->*handler)(words);
            return Outcome::Continue;
        }
    }
    if (words.command == QLatin1String("list")) {
        list(words);
        return Outcome::Continue;
    }
    complain(QStringLiteral("unknown command \"%1\" (the commands are preview, program, cut, rename, add, remove, "
                            "autocut, list and quit)")
                 .arg(words.typed));
    return Outcome::Continue;
}

CommandInterpreter::Words CommandInterpreter::split(const QString& line)
{
    const QString trimmed = line.trimmed();
    qsizetype end = 0;
    while (end < trimmed.size() && !trimmed.at(end).isSpace()) {
        ++end;
    }
    const QString typed = trimmed.left(end);
    return { typed.toLower(), typed, trimmed.mid(end).trimmed() };
}

std::optional<int> CommandInterpreter::number(const QString& text, int lowest, int highest)
{
    bool ok = false;
    const int value = text.toInt(&ok);
    if (!ok || value < lowest || value > highest) {
        return std::nullopt;
    }
    return value;
}

// The 0-based position that `text` names, or nothing after complaining.
std::optional<int> CommandInterpreter::position(const Words& words, const QString& text) const
{
    if (m_model.count() == 0) {
        complain(QStringLiteral("%1: there are no shots").arg(words.command));
        return std::nullopt;
    }
    const std::optional<int> value = number(text, 1, m_model.count());
    if (!value) {
        complain(QStringLiteral("%1: \"%2\" is not a shot position from 1 to %3")
                     .arg(words.command, text, QString::number(m_model.count())));
        return std::nullopt;
    }
    return *value - 1;
}

bool CommandInterpreter::expectNothingAfter(const Words& words) const
{
    if (!words.rest.isEmpty()) {
        complain(QStringLiteral("%1 takes no argument, not \"%2\"").arg(words.command, words.rest));
        return false;
    }
    return true;
}

void CommandInterpreter::complain(const QString& message)
{
    printErrorLine(QStringLiteral("mixdesk: ") + message);
}

void CommandInterpreter::preview(const Words& words)
{
    if (const std::optional<int> at = position(words, words.rest)) {
        m_model.setPreview(*at);
    }
}

void CommandInterpreter::program(const Words& words)
{
    if (const std::optional<int> at = position(words, words.rest)) {
        m_model.setProgram(*at);
    }
}

void CommandInterpreter::cut(const Words& words)
{
    if (expectNothingAfter(words)) {
        m_model.cut();
    }
}

void CommandInterpreter::rename(const Words& words)
{
    const Words arguments = split(words.rest);
    const std::optional<int> at = position(words, arguments.command);
    if (!at) {
        return;
    }
    if (arguments.rest.isEmpty()) {
        complain(QStringLiteral("rename: give the new name after the position, as in \"rename 1 Camera A\""));
        return;
    }
    // The name is the rest of the line as typed, inner blanks and case kept.
    m_model.rename(*at, arguments.rest);
}

void CommandInterpreter::add(const Words& words)
{
    if (words.rest.isEmpty()) {
        complain(QStringLiteral("add: give the name of the new shot, as in \"add Camera 5\""));
        return;
    }
    m_model.add(words.rest);
}

void CommandInterpreter::remove(const Words& words)
{
    if (const std::optional<int> at = position(words, words.rest)) {
        m_model.remove(*at);
    }
}

void CommandInterpreter::autoCut(const Words& words)
{
    const std::optional<int> seconds = number(words.rest, 0, AutoCut::maximumSeconds);
    if (!seconds) {
        complain(QStringLiteral("autocut: \"%1\" is not a number of seconds from 0 (stop) to %2")
                     .arg(words.rest, QString::number(AutoCut::maximumSeconds)));
        return;
    }
    m_autoCut.setIntervalSeconds(*seconds);
}

void CommandInterpreter::list(const Words& words) const
{
    if (!expectNothingAfter(words)) {
        return;
    }
    if (m_model.count() == 0) {
        printLine(QStringLiteral("no shots"));
        return;
    }
    for (int at = 0; at < m_model.count(); ++at) {
        const ShowModel::Shot shot = m_model.shotAt(at);
        QStringList states;
        if (shot.isLive) {
            states.append(QStringLiteral("program"));
        }
        if (shot.isPreview) {
            states.append(QStringLiteral("preview"));
        }
        QString line
            = QStringLiteral("%1. %2 (id %3)").arg(QString::number(at + 1), shot.name, QString::number(shot.id));
        if (!states.isEmpty()) {
            line += QStringLiteral(" [%1]").arg(states.join(QStringLiteral(", ")));
        }
        printLine(line);
    }
}
