#include "app/RunOptions.h"

#include "sources/MixdeskShotSource.h"
#include "sources/ObsShotSource.h"

#include <QFile>
#include <QProcessEnvironment>

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
                if (option.field == &RunOptions::source) {
                    options->sourceGiven = true;
                }
                matched = true;
                break;
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
        QStringLiteral("  --source SOURCE       where the shots come from: mixdesk (the default), or"),
        QStringLiteral("                        obs://HOST[:PORT] for OBS Studio (port 4455 by default)"),
        QStringLiteral("  --password-file FILE  the switcher's password, on the file's first line"),
        QStringLiteral("                        (else from MIXDESK_TALLY_OBS_PASSWORD)"),
    };
}

std::optional<QString> readSwitcherPassword(const RunOptions& options, QString* problem)
{
    if (options.passwordFile.isEmpty()) {
        const QString fromEnvironment = QProcessEnvironment::systemEnvironment().value(obsPasswordVariable);
        return fromEnvironment.isEmpty() ? options.savedPassword : fromEnvironment;
    }
    QFile file(options.passwordFile);
    if (!file.open(QIODevice::ReadOnly)) {
        if (problem) {
            *problem = QStringLiteral("cannot read the password file '%1': %2")
                           .arg(options.passwordFile, file.errorString());
        }
        return std::nullopt;
    }
    // The first line only, without its line end: editors add one.
    QByteArray line = file.readLine();
    while (line.endsWith('\n') || line.endsWith('\r')) {
        line.chop(1);
    }
    return QString::fromUtf8(line);
}

std::unique_ptr<ShotSource> makeShotSource(const RunOptions& options, QString* problem)
{
    if (options.source == QLatin1String("mixdesk")) {
        return std::make_unique<MixdeskShotSource>();
    }
    if (ObsAddress::looksLikeAddress(options.source)) {
        const std::optional<ObsAddress> address = ObsAddress::parse(options.source, problem);
        if (!address) {
            return nullptr;
        }
        const std::optional<QString> password = readSwitcherPassword(options, problem);
        if (!password) {
            return nullptr;
        }
        ObsShotSource::Settings settings;
        settings.address = *address;
        settings.password = *password;
        return std::make_unique<ObsShotSource>(settings);
    }
    if (problem) {
        *problem = QStringLiteral("unknown source '%1' (expected mixdesk or obs://HOST[:PORT])").arg(options.source);
    }
    return nullptr;
}
