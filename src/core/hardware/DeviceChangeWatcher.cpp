#include "hardware/DeviceChangeWatcher.h"

#include "hardware/PollingChangeWatcher.h"

#ifdef TALLY_HAVE_UDEV
#include "hardware/linux/UdevChangeWatcher.h"
#endif

std::unique_ptr<DeviceChangeWatcher> makeDeviceChangeWatcher()
{
#ifdef TALLY_HAVE_UDEV
    if (std::unique_ptr<UdevChangeWatcher> udevWatcher = UdevChangeWatcher::create()) {
        return udevWatcher;
    }
#endif
    return std::make_unique<PollingChangeWatcher>();
}
