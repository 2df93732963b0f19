#include "hardware/HidBackendFactory.h"

#include "hardware/CaptureBackend.h"

#ifdef Q_OS_MACOS
#include "hardware/mac/MacHidBackend.h"
#else
#include "hardware/DeviceChangeWatcher.h"
#include "hardware/HidapiBackend.h"
#include "hardware/linux/HidapiLibrary.h"
#endif

std::unique_ptr<HidBackend> makeHidBackendFromEnvironment()
{
    const QString capturePath = qEnvironmentVariable(hidCaptureEnvironmentVariable);
    if (!capturePath.isEmpty()) {
        bool isNumber = false;
        const int delay = qEnvironmentVariableIntValue(hidCaptureDelayEnvironmentVariable, &isNumber);
        return std::make_unique<CaptureBackend>(
            capturePath, std::chrono::milliseconds(isNumber && delay > 0 ? delay : 0));
    }
#ifdef Q_OS_MACOS
    return makeMacHidBackend();
#else
    return std::make_unique<HidapiBackend>(std::make_unique<HidapiLibrary>(), makeDeviceChangeWatcher());
#endif
}
