#pragma once

// A stand-in for the system under the shot query: how many copies of the
// production application run, what the permission check answers, whether the
// query script is there and loads, and what each run answers. It counts what
// the query asks of it. Header-only so that core and widget tests can share it.

#include "link/AppleScriptNotationParser.h"
#include "link/MixdeskPlatform.h"

#include <QList>
#include <QStringList>

#include <memory>
#include <optional>
#include <stdexcept>

class FakeMixdeskPlatform : public MixdeskPlatform {
public:
    // What the platform reports.
    int runningCount = 1;
    SipCheckResult sipResult = sipCheckResultWithoutPermissions();
    std::optional<QString> resourceFile = QStringLiteral("/fake/resources/query_shots");
    bool scriptLoads = true;
    // Runs take answers from the queue first, then repeat the fixed answer.
    QList<ScriptResult> answerQueue;
    ScriptResult fixedAnswer = ScriptResult::success(AppleEventDescriptor::list({}));

    // What the query asked.
    mutable int runningCountQueries = 0;
    int sipChecks = 0;
    QStringList sipCheckedIdentifiers;
    mutable int resourceLookups = 0;
    int loads = 0;
    QStringList loadedFiles;
    int runs = 0;

    // Convenience: every run answers this notation (which must parse).
    void answerWithNotation(const QString& notation) { fixedAnswer = ScriptResult::success(parsed(notation)); }

    void queueNotation(const QString& notation) { answerQueue.append(ScriptResult::success(parsed(notation))); }

    void answerWithError(const QString& message, int number)
    {
        fixedAnswer = ScriptResult::failure(scriptErrorInformation(message, number));
    }

    int runningApplicationCount(const QString&) const override
    {
        ++runningCountQueries;
        return runningCount;
    }

    SipCheckResult checkSip(const QString& bundleIdentifier) override
    {
        ++sipChecks;
        sipCheckedIdentifiers.append(bundleIdentifier);
        return sipResult;
    }

    std::optional<QString> scriptResource(const QString& name) const override
    {
        ++resourceLookups;
        if (!resourceFile || !resourceFile->endsWith(name)) {
            return std::nullopt;
        }
        return resourceFile;
    }

    QString resourceDirectory() const override { return QStringLiteral("/fake/resources"); }

    std::unique_ptr<LoadedScript> loadScript(const QString& file) override
    {
        ++loads;
        loadedFiles.append(file);
        if (!scriptLoads) {
            return nullptr;
        }
        return std::make_unique<Script>(*this);
    }

private:
    class Script : public LoadedScript {
    public:
        explicit Script(FakeMixdeskPlatform& platform)
            : m_platform(platform)
        {
        }

        ScriptResult execute() override
        {
            ++m_platform.runs;
            if (!m_platform.answerQueue.isEmpty()) {
                return m_platform.answerQueue.takeFirst();
            }
            return m_platform.fixedAnswer;
        }

    private:
        FakeMixdeskPlatform& m_platform;
    };

    static AppleEventDescriptor parsed(const QString& notation)
    {
        QString problem;
        std::optional<AppleEventDescriptor> value = AppleScriptNotationParser::parse(notation, &problem);
        if (!value) {
            throw std::invalid_argument(("test answer does not parse: " + problem).toStdString());
        }
        return *value;
    }
};
