#include "app/RunOptions.h"

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

// Checks and stores the values of the lost-source options.
std::optional<QString> applyLostSourceValue(const QString& name, const QString& value, RunOptions* options)
{
    if (name == QLatin1String("--when-lost")) {
        options->whenSourceLost = LostSourcePolicy::actionNamed(value);
        if (!options->whenSourceLost) {
            return QStringLiteral("--when-lost takes %1, not '%2'")
                .arg(LostSourcePolicy::actionNames().join(QStringLiteral(", ")), value);
        }
        return std::nullopt;
    }
    bool isNumber = false;
    const int seconds = value.toInt(&isNumber);
    if (!isNumber || seconds < 0) {
        return QStringLiteral("--blink-after takes a whole number of seconds, not '%1'").arg(value);
    }
    options->blinkAfterSeconds = seconds;
    return std::nullopt;
}

} // namespace

LostSourcePolicy RunOptions::lostSourcePolicy(LostSourcePolicy base) const
{
    if (whenSourceLost) {
        base.action = *whenSourceLost;
    }
    if (blinkAfterSeconds) {
        base.blinkAfterSeconds = *blinkAfterSeconds;
    }
    if (lightsOffAtQuit) {
        base.turnOffAtQuit = true;
    }
    return base;
}

namespace {

// Takes the option at arguments[index], if it is one of ours. matched says
// whether it was; a bad or missing value is returned in words.
std::optional<QString> takeOption(QStringList& arguments, qsizetype index, RunOptions* options, bool* matched)
{
    *matched = false;
    if (arguments[index] == QLatin1String("--lights-off-at-quit")) {
        options->lightsOffAtQuit = true;
        arguments.removeAt(index);
        *matched = true;
        return std::nullopt;
    }
    const struct {
        QString name;
        QString RunOptions::*field; // null: checked by applyLostSourceValue
    } known[] = {
        { QStringLiteral("--source"), &RunOptions::source },
        { QStringLiteral("--password-file"), &RunOptions::passwordFile },
        { QStringLiteral("--when-lost"), nullptr },
        { QStringLiteral("--blink-after"), nullptr },
    };
    for (const auto& option : known) {
        TakenValue taken = takeValue(arguments, index, option.name);
        if (taken.problem) {
            return taken.problem;
        }
        if (!taken.matched) {
            continue;
        }
        *matched = true;
        if (option.field == nullptr) {
            return applyLostSourceValue(option.name, taken.value, options);
        }
        options->*option.field = taken.value;
        return std::nullopt;
    }
    return std::nullopt;
}

} // namespace

std::optional<QString> RunOptions::takeFrom(QStringList& arguments, RunOptions* options)
{
    qsizetype index = 0;
    while (index < arguments.size()) {
        if (arguments[index] == QLatin1String("--")) {
            break; // what follows are files, whatever their names
        }
        bool matched = false;
        if (std::optional<QString> problem = takeOption(arguments, index, options, &matched)) {
            return problem;
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
        QStringLiteral("  --when-lost ACTION    while the switcher is lost: keep the lights (keep, the"),
        QStringLiteral("                        default), turn them off (off), or blink them (blink)"),
        QStringLiteral("  --blink-after SECONDS with --when-lost blink: seconds of keeping the lights"),
        QStringLiteral("                        before they blink (default 10)"),
        QStringLiteral("  --lights-off-at-quit  turn every light off when the program ends"),
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
