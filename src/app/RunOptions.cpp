#include "app/RunOptions.h"

#include "outputs/WebTallyServer.h"
#include "sources/MixdeskShotSource.h"

namespace {

// The value of option name at arguments[index] ("--name VALUE" or
// "--name=VALUE"), removing what it used. Nothing when arguments[index] is
// another argument; a usage problem when the value is missing.
struct TakenValue {
    bool matched = false;
    QString value;
    std::optional<QString> problem;
};

TakenValue takeValue(QStringList& arguments, qsizetype index, const QString& name)
{
    TakenValue taken;
    const QString& argument = arguments[index];
    const QString withEquals = name + QLatin1Char('=');
    if (argument == name) {
        taken.matched = true;
        if (index + 1 >= arguments.size()) {
            taken.problem = QStringLiteral("%1 needs a value").arg(name);
            arguments.removeAt(index);
            return taken;
        }
        taken.value = arguments[index + 1];
        arguments.remove(index, 2);
    } else if (argument.startsWith(withEquals)) {
        taken.matched = true;
        taken.value = argument.mid(withEquals.size());
        arguments.removeAt(index);
    }
    if (taken.matched && taken.value.isEmpty() && !taken.problem) {
        taken.problem = QStringLiteral("%1 needs a value").arg(name);
    }
    return taken;
}

// --web's value, checked as it is taken so that a bad address is a usage
// problem before anything starts.
std::optional<QString> takeWebOption(QStringList& arguments, qsizetype index, RunOptions* options, bool* matched)
{
    TakenValue taken = takeValue(arguments, index, QStringLiteral("--web"));
    *matched = taken.matched;
    if (!taken.matched || taken.problem) {
        return taken.problem;
    }
    QString problem;
    options->web = WebListenAddress::parse(taken.value, &problem);
    if (!options->web) {
        return QStringLiteral("--web: ") + problem;
    }
    return std::nullopt;
}

} // namespace

std::optional<QString> RunOptions::takeFrom(QStringList& arguments, RunOptions* options)
{
    const struct {
        QString name;
        QString RunOptions::*field;
    } known[] = {
        { QStringLiteral("--source"), &RunOptions::source },
        { QStringLiteral("--password-file"), &RunOptions::passwordFile },
    };
    qsizetype index = 0;
    while (index < arguments.size()) {
        if (arguments[index] == QLatin1String("--")) {
            break; // what follows are files, whatever their names
        }
        bool matched = false;
        for (const auto& option : known) {
            TakenValue taken = takeValue(arguments, index, option.name);
            if (taken.problem) {
                return taken.problem;
            }
            if (taken.matched) {
                options->*option.field = taken.value;
                matched = true;
                break;
            }
        }
        if (!matched) {
            if (std::optional<QString> problem = takeWebOption(arguments, index, options, &matched)) {
                return problem;
            }
        }
        if (!matched) {
            ++index;
        }
    }
    return std::nullopt;
}

QStringList RunOptions::helpLines()
{
    return {
        QStringLiteral("  --source SOURCE       where the shots come from: mixdesk (the default)"),
        QStringLiteral("  --password-file FILE  the switcher's password, on the file's first line"),
        QStringLiteral("  --web [ADDRESS:]PORT  serve the web tally page for phones (every interface if no ADDRESS)"),
    };
}

std::unique_ptr<ShotSource> makeShotSource(const RunOptions& options, QString* problem)
{
    if (options.source == QLatin1String("mixdesk")) {
        return std::make_unique<MixdeskShotSource>();
    }
    if (problem) {
        *problem = QStringLiteral("unknown source '%1' (expected mixdesk)").arg(options.source);
    }
    return nullptr;
}

std::unique_ptr<WebTallyServer> startWebTally(const RunOptions& options, QString* problem)
{
    if (!options.web) {
        return nullptr;
    }
    auto server = std::make_unique<WebTallyServer>();
    if (!server->listen(*options.web, problem)) {
        return nullptr;
    }
    return server;
}
