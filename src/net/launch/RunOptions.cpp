#include "launch/RunOptions.h"

#include "base/Problem.h"
#include "dmx/DmxLayout.h"
#include "switchers/SenderAllowList.h"

#include <functional>

namespace {

// An option at arguments[index], if it is the one looked for, and its value.
struct TakenValue {
    bool matched = false;
    QString value;
};

// The value of option name at arguments[index] ("--name VALUE" or
// "--name=VALUE"), removing what it used; not matched when arguments[index]
// is another argument. False, with the problem, when the value is missing.
bool takeValue(QStringList& arguments, qsizetype index, const QString& name, TakenValue* taken, QString* problem)
{
    *taken = {};
    const QString& argument = arguments[index];
    const QString withEquals = name + QLatin1Char('=');
    if (argument == name) {
        taken->matched = true;
        if (index + 1 >= arguments.size()) {
            arguments.removeAt(index);
            return reportProblem(problem, QStringLiteral("%1 needs a value").arg(name));
        }
        taken->value = arguments[index + 1];
        arguments.remove(index, 2);
    } else if (argument.startsWith(withEquals)) {
        taken->matched = true;
        taken->value = argument.mid(withEquals.size());
        arguments.removeAt(index);
    }
    if (taken->matched && taken->value.isEmpty()) {
        return reportProblem(problem, QStringLiteral("%1 needs a value").arg(name));
    }
    return true;
}

// The options that may be given more than once, each adding a value.
// Each marks its kind of output as given on the command line.
struct RepeatableOption {
    QString name;
    QStringList RunOptions::*field;
    bool RunOptions::*given;
};

const RepeatableOption repeatableOptions[] = {
    { QStringLiteral("--tsl"), &RunOptions::tsl31Destinations, &RunOptions::tslGiven },
    { QStringLiteral("--tsl5"), &RunOptions::tsl50Destinations, &RunOptions::tslGiven },
    { QStringLiteral("--mqtt"), &RunOptions::mqttBrokers, &RunOptions::mqttGiven },
    { QStringLiteral("--dmx"), &RunOptions::dmxDestinations, &RunOptions::dmxGiven },
};

// Whole-number options and the smallest value each takes.
struct NumberOption {
    QString name;
    int RunOptions::*field;
    int minimum;
};

const NumberOption numberOptions[] = {
    { QStringLiteral("--tsl-offset"), &RunOptions::tslIndexOffset, 0 },
    { QStringLiteral("--atem-me"), &RunOptions::atemMixEffect, 1 },
    { QStringLiteral("--dmx-start"), &RunOptions::dmxStartChannel, 1 },
};

// An option whose value is checked as it is taken, so that a bad one is a
// usage problem before anything starts: store keeps the value, or says why
// it cannot.
bool takeCheckedOption(QStringList& arguments, qsizetype index, const QString& name, bool* matched, QString* problem,
    const std::function<bool(const QString& value, QString* why)>& store)
{
    TakenValue taken;
    const bool valueGiven = takeValue(arguments, index, name, &taken, problem);
    *matched = taken.matched;
    if (!taken.matched || !valueGiven) {
        return valueGiven;
    }
    QString why;
    if (!store(taken.value, &why)) {
        return reportProblem(problem, name + QStringLiteral(": ") + why);
    }
    return true;
}

// --tsl-allow chooses whom the TSL source hears, not where the lights go,
// so it leaves the TSL outputs alone.
bool takeTslAllowOption(QStringList& arguments, qsizetype index, RunOptions* options, bool* matched, QString* problem)
{
    return takeCheckedOption(arguments, index, QStringLiteral("--tsl-allow"), matched, problem,
        [options](const QString& value, QString* why) {
            if (!SenderAllowList::parse({ value }, why)) {
                return false;
            }
            options->tslAllowedSenders.append(value);
            return true;
        });
}

// --tsl-silence: how long a TSL sender may be silent, in whole seconds.
bool takeTslSilenceOption(QStringList& arguments, qsizetype index, RunOptions* options, bool* matched, QString* problem)
{
    return takeCheckedOption(arguments, index, QStringLiteral("--tsl-silence"), matched, problem,
        [options](const QString& value, QString* why) {
            bool isNumber = false;
            const int seconds = value.toInt(&isNumber);
            if (!isNumber || seconds < 0 || seconds > RunOptions::maxTslSilenceSeconds) {
                return reportProblem(why,
                    QStringLiteral("takes whole seconds from 0 (no limit) to %1, not '%2'")
                        .arg(RunOptions::maxTslSilenceSeconds)
                        .arg(value));
            }
            options->tslSilenceSeconds = seconds;
            return true;
        });
}

// A repeatable option at arguments[index], its value added to options and
// the kind of output it belongs to marked as given.
bool takeRepeatableOption(QStringList& arguments, qsizetype index, RunOptions* options, bool* matched, QString* problem)
{
    for (const RepeatableOption& option : repeatableOptions) {
        TakenValue taken;
        const bool valueGiven = takeValue(arguments, index, option.name, &taken, problem);
        if (taken.matched) {
            *matched = true;
            if (valueGiven) {
                (options->*option.field).append(taken.value);
                options->*option.given = true;
            }
            return valueGiven;
        }
    }
    return true;
}

// A whole-number option at arguments[index], checked against its minimum.
bool takeNumberOption(QStringList& arguments, qsizetype index, RunOptions* options, bool* matched, QString* problem)
{
    for (const NumberOption& option : numberOptions) {
        TakenValue taken;
        const bool valueGiven = takeValue(arguments, index, option.name, &taken, problem);
        if (!taken.matched) {
            continue;
        }
        *matched = true;
        bool isNumber = false;
        const int number = taken.value.toInt(&isNumber);
        options->*option.field = number;
        if (option.field == &RunOptions::tslIndexOffset) {
            options->tslGiven = true;
        }
        if (option.field == &RunOptions::dmxStartChannel) {
            options->dmxGiven = true;
        }
        if (valueGiven && (!isNumber || number < option.minimum)) {
            return reportProblem(problem,
                QStringLiteral("%1 needs a whole number of at least %2, not '%3'")
                    .arg(option.name)
                    .arg(option.minimum)
                    .arg(taken.value));
        }
        return valueGiven;
    }
    return true;
}

// --dmx-layout: how the lights sit in the universe.
bool takeDmxLayoutOption(QStringList& arguments, qsizetype index, RunOptions* options, bool* matched, QString* problem)
{
    return takeCheckedOption(arguments, index, QStringLiteral("--dmx-layout"), matched, problem,
        [options](const QString& value, QString* why) {
            if (!DmxLayout::kindNamed(value)) {
                return reportProblem(why,
                    QStringLiteral("takes %1, not '%2'")
                        .arg(DmxLayout::kindNames().join(QStringLiteral(" or ")), value));
            }
            options->dmxLayout = value;
            options->dmxGiven = true;
            return true;
        });
}

bool takeWebOption(QStringList& arguments, qsizetype index, RunOptions* options, bool* matched, QString* problem)
{
    return takeCheckedOption(
        arguments, index, QStringLiteral("--web"), matched, problem, [options](const QString& value, QString* why) {
            options->web = WebListenAddress::parse(value, why);
            return options->web.has_value();
        });
}

bool takeVmixFeedOption(QStringList& arguments, qsizetype index, RunOptions* options, bool* matched, QString* problem)
{
    return takeCheckedOption(arguments, index, QStringLiteral("--vmix-feed"), matched, problem,
        [options](const QString& value, QString* why) {
            options->vmixFeed = WebListenAddress::parse(value, why);
            return options->vmixFeed.has_value();
        });
}

// --vmix-feed-allow: the addresses or networks the feed answers.
bool takeVmixFeedAllowOption(
    QStringList& arguments, qsizetype index, RunOptions* options, bool* matched, QString* problem)
{
    return takeCheckedOption(arguments, index, QStringLiteral("--vmix-feed-allow"), matched, problem,
        [options](const QString& value, QString* why) {
            if (!SenderAllowList::parse({ value }, why)) {
                return false;
            }
            options->vmixFeedAllowedClients.append(value);
            return true;
        });
}

// Checks and stores the values of the lost-source options.
bool applyLostSourceValue(const QString& name, const QString& value, RunOptions* options, QString* problem)
{
    if (name == QLatin1String("--when-lost")) {
        options->whenSourceLost = LostSourcePolicy::actionNamed(value);
        if (!options->whenSourceLost) {
            return reportProblem(problem,
                QStringLiteral("--when-lost takes %1, not '%2'")
                    .arg(LostSourcePolicy::actionNames().join(QStringLiteral(", ")), value));
        }
        return true;
    }
    bool isNumber = false;
    const int seconds = value.toInt(&isNumber);
    if (!isNumber || seconds < 0) {
        return reportProblem(
            problem, QStringLiteral("--blink-after takes a whole number of seconds, not '%1'").arg(value));
    }
    options->blinkAfterSeconds = seconds;
    return true;
}

// The options whose value is stored as given, and the two lost-source ones,
// whose values are checked.
bool takeTextOption(QStringList& arguments, qsizetype index, RunOptions* options, bool* matched, QString* problem)
{
    const struct {
        QString name;
        QString RunOptions::*field; // null: checked by applyLostSourceValue
    } known[] = {
        { QStringLiteral("--source"), &RunOptions::source },
        { QStringLiteral("--password-file"), &RunOptions::passwordFile },
        { QStringLiteral("--mqtt-password-file"), &RunOptions::mqttPasswordFile },
        { QStringLiteral("--mqtt-ca-file"), &RunOptions::mqttCaFile },
        { QStringLiteral("--when-lost"), nullptr },
        { QStringLiteral("--blink-after"), nullptr },
    };
    for (const auto& option : known) {
        TakenValue taken;
        if (!takeValue(arguments, index, option.name, &taken, problem)) {
            return false;
        }
        if (!taken.matched) {
            continue;
        }
        *matched = true;
        if (option.field == nullptr) {
            return applyLostSourceValue(option.name, taken.value, options, problem);
        }
        if (option.field == &RunOptions::source && options->sourceGiven) {
            // Said again, --source adds a switcher to follow besides the
            // first.
            options->additionalSources.append(taken.value);
            return true;
        }
        options->*option.field = taken.value;
        if (option.field == &RunOptions::source) {
            options->sourceGiven = true;
        }
        if (option.field == &RunOptions::mqttPasswordFile || option.field == &RunOptions::mqttCaFile) {
            options->mqttGiven = true;
        }
        return true;
    }
    return true;
}

// The options without a value.
bool takeFlag(QStringList& arguments, qsizetype index, RunOptions* options, bool* matched, QString* /*problem*/)
{
    if (arguments[index] == QLatin1String("--lights-off-at-quit")) {
        options->lightsOffAtQuit = true;
    } else if (arguments[index] == QLatin1String("--mqtt-discovery")) {
        options->mqttDiscovery = true;
        options->mqttGiven = true;
    } else {
        return true;
    }
    arguments.removeAt(index);
    *matched = true;
    return true;
}

// Whichever known option is at arguments[index], taken into options.
bool takeOption(QStringList& arguments, qsizetype index, RunOptions* options, bool* matched, QString* problem)
{
    using Take = bool (*)(QStringList&, qsizetype, RunOptions*, bool*, QString*);
    for (const Take take : { takeFlag, takeTextOption, takeWebOption, takeVmixFeedOption, takeVmixFeedAllowOption,
             takeTslAllowOption, takeTslSilenceOption, takeDmxLayoutOption, takeRepeatableOption, takeNumberOption }) {
        if (!take(arguments, index, options, matched, problem)) {
            return false;
        }
        if (*matched) {
            return true;
        }
    }
    return true;
}

} // namespace

LostSourcePolicy RunOptions::lostSourcePolicy(LostSourcePolicy base) const
{
    return base.overriddenBy(whenSourceLost, blinkAfterSeconds, lightsOffAtQuit);
}

bool RunOptions::takeFrom(QStringList& arguments, RunOptions* options, QString* problem)
{
    qsizetype index = 0;
    while (index < arguments.size()) {
        if (arguments[index] == QLatin1String("--")) {
            break; // what follows are files, whatever their names
        }
        bool matched = false;
        if (!takeOption(arguments, index, options, &matched, problem)) {
            return false;
        }
        if (!matched) {
            ++index;
        }
    }
    // The list belongs to a feed: given alone it would quietly do nothing.
    if (!options->vmixFeedAllowedClients.isEmpty() && !options->vmixFeed) {
        return reportProblem(problem, QStringLiteral("--vmix-feed-allow needs --vmix-feed [ADDRESS:]PORT"));
    }
    return true;
}

QStringList RunOptions::helpLines()
{
    return {
        QStringLiteral("  --source SOURCE       where the shots come from: mixdesk (the default),"),
        QStringLiteral("                        obs://HOST[:PORT] for OBS Studio (port 4455 by default), or TSL"),
        QStringLiteral("                        UMD from a switcher: tsl://[ADDRESS:]PORT (3.1) or"),
        QStringLiteral("                        tsl5://[ADDRESS:]PORT (5.0) over UDP, tsl+tcp:// or tsl5+tcp://,"),
        QStringLiteral("                        a Blackmagic ATEM switcher: atem://HOST[:PORT] (UDP 9910"),
        QStringLiteral("                        by default), or vMix: vmix://HOST[:PORT] (its TCP API, port"),
        QStringLiteral("                        8099 by default; 8088 is its web page, not this). Repeat it to"),
        QStringLiteral("                        follow several switchers at once; LABEL=SOURCE names one's"),
        QStringLiteral("                        shots \"LABEL: NAME\" where two share a name (else by kind:"),
        QStringLiteral("                        ATEM, vMix, OBS, TSL, Mixdesk; ATEM 2 for a second ATEM)"),
        QStringLiteral("  --tsl-allow LIST      with a TSL source, take messages only from the addresses or"),
        QStringLiteral("                        networks in LIST, separated by commas (10.0.0.5,10.0.1.0/24);"),
        QStringLiteral("                        repeatable; without it, from every sender"),
        QStringLiteral("  --tsl-silence N       with a TSL source, how many seconds a sender may be silent"),
        QStringLiteral("                        before it counts as gone and its displays are forgotten (0:"),
        QStringLiteral("                        no limit); by default none with --tsl-allow, 5 without. A"),
        QStringLiteral("                        sender connected over TCP counts as there while connected"),
        QStringLiteral("  --atem-me N           the ATEM mix effect whose program and preview light the"),
        QStringLiteral("                        lights where the switcher sends no tally by source (default 1)"),
        QStringLiteral("  --password-file FILE  the switcher's password, on the file's first line"),
        QStringLiteral("                        (else from MIXDESK_TALLY_OBS_PASSWORD)"),
        QStringLiteral("  --tsl URL             send the lights as TSL UMD 3.1 to udp://HOST:PORT (repeatable)"),
        QStringLiteral("  --tsl5 URL            send the lights as TSL UMD 5.0 to udp:// or tcp://HOST:PORT"),
        QStringLiteral("                        (repeatable)"),
        QStringLiteral("  --tsl-offset N        light N is TSL display index N + offset (default 0)"),
        QStringLiteral("  --web [ADDRESS:]PORT  serve the web tally page for phones (every interface if no ADDRESS)"),
        QStringLiteral("  --vmix-feed WHERE     answer vMix tally receivers as vMix's TCP API does, on"),
        QStringLiteral("                        [ADDRESS:]PORT (every interface if no ADDRESS; vMix"),
        QStringLiteral("                        itself uses port 8099)"),
        QStringLiteral("  --vmix-feed-allow     LIST: answer only receivers at these addresses or networks"),
        QStringLiteral("                        (10.0.0.5, 10.0.0.0/24; comma-separated, repeatable)"),
        QStringLiteral("  --mqtt URL            publish the lights to an MQTT broker:"),
        QStringLiteral("                        mqtt://[USER@]HOST[:PORT][/PREFIX], mqtts:// for TLS (repeatable;"),
        QStringLiteral("                        topics under mixdesk-tally/<host name> unless PREFIX is given)"),
        QStringLiteral("  --mqtt-password-file  FILE whose first line is the brokers' password"),
        QStringLiteral("                        (else from MIXDESK_TALLY_MQTT_PASSWORD)"),
        QStringLiteral("  --mqtt-ca-file FILE   for mqtts://: a CA certificate to trust besides the system's"),
        QStringLiteral("  --mqtt-discovery      announce every light to Home Assistant (MQTT discovery)"),
        QStringLiteral("  --dmx URL             send the lights as DMX levels: artnet://HOST[:PORT][/UNIVERSE]"),
        QStringLiteral("                        (Art-Net, port 6454, universe 0) or sacn://[HOST][:PORT][/UNIVERSE]"),
        QStringLiteral("                        (sACN, port 5568, universe 1, multicast without HOST); repeatable"),
        QStringLiteral("  --dmx-start N         the first DMX channel, light 1's (default 1)"),
        QStringLiteral("  --dmx-layout LAYOUT   rgb: three channels a light, live 255,0,0, preview 0,255,0"),
        QStringLiteral("                        (the default); single: one channel, live 255, preview 128"),
        QStringLiteral("  --when-lost ACTION    while the switcher is lost: keep the lights (keep, the"),
        QStringLiteral("                        default), turn them off (off), or blink them (blink)"),
        QStringLiteral("  --blink-after N       with --when-lost blink: N seconds of keeping the lights"),
        QStringLiteral("                        before they blink (default 10)"),
        QStringLiteral("  --lights-off-at-quit  turn every light off when the program ends"),
    };
}
