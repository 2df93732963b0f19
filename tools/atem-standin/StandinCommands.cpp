#include "StandinCommands.h"

#include <QRegularExpression>

namespace {

std::optional<quint16> inputNumber(const QString& text)
{
    bool isNumber = false;
    const uint number = text.toUInt(&isNumber);
    if (!isNumber || number > 0xffff) {
        return std::nullopt;
    }
    return static_cast<quint16>(number);
}

} // namespace

StandinCommands::StandinCommands(SwitcherModel& model, StandinServer& server, QObject* parent)
    : QObject(parent)
    , m_model(model)
    , m_server(server)
{
    m_autoTimer.setSingleShot(true);
    connect(&m_autoTimer, &QTimer::timeout, this, &StandinCommands::finishAuto);
}

StandinCommands::Outcome StandinCommands::execute(const QString& line, QString* problem)
{
    const QString trimmed = line.trimmed();
    const QStringList words = trimmed.split(QRegularExpression(QStringLiteral("\\s+")), Qt::SkipEmptyParts);
    const auto refuse = [&](const QString& why) {
        if (problem) {
            *problem = why;
        }
        return Outcome::refused;
    };
    if (words.isEmpty()) {
        return Outcome::done;
    }
    const QString verb = words.first();
    // The change is a callable rather than a pointer to a member function:
    // the undefined-behaviour sanitizer takes a call through the latter for a
    // misaligned object and stops the stand-in.
    const auto withInput = [this, &words, &verb, &refuse](const auto& change) {
        const std::optional<quint16> input = words.size() == 2 ? inputNumber(words[1]) : std::nullopt;
        if (!input || !m_model.hasInput(*input)) {
            return refuse(
                QStringLiteral("%1 takes an input number from 1 to %2").arg(verb).arg(m_model.inputs().size()));
        }
        if (change(*input)) {
            announce();
        }
        return Outcome::done;
    };
    if (verb == QLatin1String("quit")) {
        return Outcome::quit;
    }
    if (verb == QLatin1String("program")) {
        return withInput([this](quint16 input) { return m_model.setProgram(input); });
    }
    if (verb == QLatin1String("preview")) {
        return withInput([this](quint16 input) { return m_model.setPreview(input); });
    }
    if (verb == QLatin1String("cut")) {
        m_autoTimer.stop();
        m_model.cut();
        announce();
        return Outcome::done;
    }
    if (verb == QLatin1String("auto")) {
        int milliseconds = defaultAutoMs;
        if (words.size() == 2) {
            bool isNumber = false;
            milliseconds = words[1].toInt(&isNumber);
            if (!isNumber || milliseconds < 0) {
                return refuse(QStringLiteral("auto takes a duration in milliseconds"));
            }
        }
        if (m_model.startAuto()) {
            announce();
            m_autoTimer.start(milliseconds);
        }
        return Outcome::done;
    }
    if (verb == QLatin1String("rename")) {
        const std::optional<quint16> input = words.size() >= 2 ? inputNumber(words[1]) : std::nullopt;
        if (!input || !m_model.hasInput(*input)) {
            return refuse(QStringLiteral("rename takes an input number and a name"));
        }
        // The name is the rest of the line, spaces and all.
        const QString name = trimmed.section(QRegularExpression(QStringLiteral("\\s+")), 2);
        if (m_model.rename(*input, name)) {
            announce();
        }
        return Outcome::done;
    }
    if (verb == QLatin1String("keyer")) {
        if (words.size() == 2 && words[1] == QLatin1String("off")) {
            if (m_model.setKeyer(std::nullopt)) {
                announce();
            }
            return Outcome::done;
        }
        const std::optional<quint16> input
            = words.size() == 3 && words[1] == QLatin1String("on") ? inputNumber(words[2]) : std::nullopt;
        if (!input || !m_model.hasInput(*input)) {
            return refuse(QStringLiteral("keyer takes 'on N' or 'off'"));
        }
        if (m_model.setKeyer(*input)) {
            announce();
        }
        return Outcome::done;
    }
    if (verb == QLatin1String("record") || verb == QLatin1String("stream")) {
        const bool on = words.size() == 2 && words[1] == QLatin1String("on");
        if (words.size() != 2 || (!on && words[1] != QLatin1String("off"))) {
            return refuse(QStringLiteral("%1 takes 'on' or 'off'").arg(verb));
        }
        const bool changed = verb == QLatin1String("record") ? m_model.setRecording(on) : m_model.setStreaming(on);
        if (changed) {
            announce();
        }
        return Outcome::done;
    }
    if (verb == QLatin1String("drop") || verb == QLatin1String("reorder")) {
        bool isNumber = false;
        const int percent = words.size() == 2 ? words[1].toInt(&isNumber) : -1;
        if (!isNumber || percent < 0 || percent > 100) {
            return refuse(QStringLiteral("%1 takes a percentage from 0 to 100").arg(verb));
        }
        if (verb == QLatin1String("drop")) {
            m_server.setDropPercent(percent);
        } else {
            m_server.setReorderPercent(percent);
        }
        return Outcome::done;
    }
    return refuse(QStringLiteral("unknown command '%1'").arg(verb));
}

void StandinCommands::announce()
{
    m_server.broadcast(m_model.stateCommands());
}

void StandinCommands::finishAuto()
{
    if (m_model.finishAuto()) {
        announce();
    }
}
