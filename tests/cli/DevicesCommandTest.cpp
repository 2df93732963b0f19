// tallyctl devices in-process, over a fake back end: what it says of the box
// it took depends on whether that box could be opened.

#include "DevicesCommand.h"

#include "core/hardware/HardwareFakes.h"
#include "hardware/USBHIDAppDelegate.h"
#include "support/QtPrinters.h"

#include <gtest/gtest.h>

namespace {

// A box whose opening fails (no permission to its device node yet).
class UnopenableDevice : public FakeDevice {
public:
    using FakeDevice::FakeDevice;
    bool isOpen() const override { return false; }
};

std::string devicesListing(const HidDevicePtr& device)
{
    auto backend = std::make_unique<FakeBackend>();
    FakeBackend* plugged = backend.get();
    USBHIDAppDelegate::setSharedBackendForTesting(std::move(backend));
    plugged->plug(device);
    testing::internal::CaptureStdout();
    const int status = devicesCommand().run({});
    const std::string printed = testing::internal::GetCapturedStdout();
    EXPECT_EQ(status, 0);
    return printed;
}

} // namespace

TEST(DevicesCommandTest, TheBoxTakenAndOpenIsDriven)
{
    const std::string printed = devicesListing(std::make_shared<FakeDevice>(QStringLiteral("/dev/hidraw3")));
    EXPECT_EQ(printed.substr(0, printed.find('\n')), "/dev/hidraw3 (driven)");
}

TEST(DevicesCommandTest, TheBoxTakenButNotOpenedSaysSoInsteadOfDriven)
{
    const std::string printed = devicesListing(std::make_shared<UnopenableDevice>(QStringLiteral("/dev/hidraw3")));
    EXPECT_EQ(printed.substr(0, printed.find('\n')), "/dev/hidraw3 (cannot be opened)");
}
