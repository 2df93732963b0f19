#include "VmixStandinCommands.h"

namespace {

VmixStandinCommands::Outcome refuse(QString* problem, const QString& why)
{
    if (problem) {
        *problem = why;
    }
    return VmixStandinCommands::Outcome::refused;
}

} // namespace

VmixStandinCommands::VmixStandinCommands(VmixModel& model, VmixStandinServer& server)
    : m_model(model)
    , m_server(server)
{
}

VmixStandinCommands::Outcome VmixStandinCommands::execute(const QString& line, QString* problem)
{
    const QString trimmed = line.trimmed();
    if (trimmed.isEmpty()) {
        return Outcome::done;
    }
    const qsizetype space = trimmed.indexOf(QLatin1Char(' '));
    const QString verb = space < 0 ? trimmed : trimmed.left(space);
    const QString argument = space < 0 ? QString() : trimmed.mid(space + 1).trimmed();
    if (verb == QLatin1String("quit")) {
        return Outcome::quit;
    }
    if (verb == QLatin1String("cut") && argument.isEmpty()) {
        m_model.cut();
        m_server.announce();
        return Outcome::done;
    }
    if (verb == QLatin1String("drop") && argument.isEmpty()) {
        m_server.dropClients();
        return Outcome::done;
    }
    if (verb == QLatin1String("program") || verb == QLatin1String("preview") || verb == QLatin1String("rename")) {
        return inputCommand(verb, argument, problem);
    }
    if (verb == QLatin1String("record") || verb == QLatin1String("stream")) {
        return switchCommand(verb, argument, problem);
    }
    return refuse(problem, QStringLiteral("unknown command '%1'").arg(trimmed));
}

VmixStandinCommands::Outcome VmixStandinCommands::inputCommand(
    const QString& verb, const QString& argument, QString* problem)
{
    const qsizetype space = argument.indexOf(QLatin1Char(' '));
    const QString numberText = space < 0 ? argument : argument.left(space);
    bool isNumber = false;
    const int input = numberText.toInt(&isNumber);
    if (!isNumber || !m_model.hasInput(input)) {
        return refuse(
            problem, QStringLiteral("%1 takes an input number from 1 to %2").arg(verb).arg(m_model.inputs().size()));
    }
    if (verb == QLatin1String("rename")) {
        if (space < 0) {
            return refuse(problem, QStringLiteral("rename takes an input number and a title"));
        }
        m_model.rename(input, argument.mid(space + 1).trimmed());
        return Outcome::done;
    }
    if (space >= 0) {
        return refuse(problem, QStringLiteral("%1 takes one input number").arg(verb));
    }
    if (verb == QLatin1String("program")) {
        m_model.setProgram(input);
    } else {
        m_model.setPreview(input);
    }
    m_server.announce();
    return Outcome::done;
}

VmixStandinCommands::Outcome VmixStandinCommands::switchCommand(
    const QString& verb, const QString& argument, QString* problem)
{
    if (argument != QLatin1String("on") && argument != QLatin1String("off")) {
        return refuse(problem, QStringLiteral("%1 takes on or off").arg(verb));
    }
    const bool on = argument == QLatin1String("on");
    if (verb == QLatin1String("record")) {
        m_model.setRecording(on);
    } else {
        m_model.setStreaming(on);
    }
    return Outcome::done;
}
