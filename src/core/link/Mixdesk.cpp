#include "link/Mixdesk.h"

#include "base/FatalError.h"
#include "base/StandardOutput.h"
#include "link/MixdeskPlatform.h"
#include "link/ShotDecoder.h"

namespace {

const QString queryScriptName = QStringLiteral("query_shots");

} // namespace

Mixdesk& Mixdesk::shared()
{
    // Created once, safely against concurrent first use, and never destroyed:
    // the update tick may still query while the process exits.
    static Mixdesk* const instance = new Mixdesk(makeHostMixdeskPlatform());
    return *instance;
}

Mixdesk::Mixdesk(std::shared_ptr<MixdeskPlatform> platform)
    : mixdeskIdentifier(mixdeskBundleIdentifier)
    , m_platform(std::move(platform))
{
}

Mixdesk::ShotList Mixdesk::queryShots()
{
    // No permission prompt may appear while the application is not running.
    if (!isRunning()) {
        return {};
    }
    if (!authorizationChecked) {
        // Set before asking, so that a refusal is never asked again.
        authorizationChecked = true;
        const SipCheckResult sip = m_platform->checkSip(mixdeskIdentifier);
        if (!sip.value(isSipEnabledKey).toBool()) {
            printLine(QStringLiteral("error: SIP not enabled"));
            return {};
        }
    }
    const std::optional<QString> scriptFile = m_platform->scriptResource(queryScriptName);
    if (!scriptFile) {
        fatalError(QStringLiteral("resource %1 missing from %2").arg(queryScriptName, m_platform->resourceDirectory()));
    }
    // Loaded anew for every query: an edited script takes effect on the next tick.
    const std::unique_ptr<LoadedScript> script = m_platform->loadScript(*scriptFile);
    if (!script) {
        return {};
    }
    const ScriptResult result = script->execute();
    if (result.isError()) {
        printLine(QStringLiteral("error: ") + describeErrorInformation(result.errorInformation()));
        return {};
    }
    return decodeShots(result.descriptor());
}

int Mixdesk::runningApplicationCount() const
{
    return m_platform->runningApplicationCount(mixdeskBundleIdentifier);
}

bool Mixdesk::isRunning()
{
    return m_platform->isApplicationRunning(mixdeskBundleIdentifier);
}

MixdeskPlatform& Mixdesk::platform() const
{
    return *m_platform;
}

void Mixdesk::setPlatform(std::shared_ptr<MixdeskPlatform> platform)
{
    m_platform = std::move(platform);
}
