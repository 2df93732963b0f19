#include "hardware/HidBackendFactory.h"

#include "hardware/CaptureBackend.h"
#include "hardware/DeviceChangeWatcher.h"
#include "hardware/HidapiBackend.h"
#include "hardware/HidapiLibrary.h"

std::unique_ptr<HidBackend> makeHidBackendFromEnvironment()
{
    const QString capturePath = qEnvironmentVariable(hidCaptureEnvironmentVariable);
    if (!capturePath.isEmpty()) {
        return std::make_unique<CaptureBackend>(capturePath);
    }
    return std::make_unique<HidapiBackend>(std::make_unique<HidapiLibrary>(), makeDeviceChangeWatcher());
}
