#include "hardware/USBHIDAppDelegate.h"

#include "core/hardware/HardwareFakes.h"
#include "support/QtPrinters.h"

#include <gtest/gtest.h>

namespace {

struct DelegateOnFakeBackend {
    DelegateOnFakeBackend()
        : backend(new FakeBackend)
        , delegate(std::unique_ptr<HidBackend>(backend))
    {
    }

    FakeBackend* backend;
    USBHIDAppDelegate delegate;
};

HidReport reportWithFirstByte(quint8 first)
{
    HidReport report {};
    report[0] = first;
    return report;
}

} // namespace

TEST(USBHIDAppDelegateTest, StartsTheBackendOnceWhenMade)
{
    DelegateOnFakeBackend fixture;
    EXPECT_EQ(fixture.backend->startCount, 1);
    EXPECT_EQ(fixture.delegate.controller(), nullptr);
}

TEST(USBHIDAppDelegateTest, ByteSentBeforeAnyDeviceIsReportedIsDroppedSilently)
{
    LogCapture log;
    DelegateOnFakeBackend fixture;
    auto device = std::make_shared<FakeDevice>();

    fixture.delegate.sendControl(0xB1);
    fixture.backend->plug(device);

    EXPECT_TRUE(device->reports.isEmpty());
    EXPECT_TRUE(log.lines.isEmpty());
}

TEST(USBHIDAppDelegateTest, SendControlB3WritesA64ByteReportWithB3FirstAndReportIdB3)
{
    DelegateOnFakeBackend fixture;
    auto device = std::make_shared<FakeDevice>();
    fixture.backend->plug(device);

    fixture.delegate.sendControl(0xB3);

    ASSERT_EQ(device->reports.size(), 1);
    EXPECT_EQ(device->reports.first().reportId, 0xB3);
    EXPECT_EQ(device->reports.first().report.size(), 64u);
    EXPECT_EQ(device->reports.first().report, reportWithFirstByte(0xB3));
}

TEST(USBHIDAppDelegateTest, MatchOpensTheDeviceAndMakesItTheController)
{
    DelegateOnFakeBackend fixture;
    auto device = std::make_shared<FakeDevice>();
    fixture.backend->plug(device);

    EXPECT_EQ(fixture.delegate.controller(), device);
    EXPECT_EQ(device->openCount, 1);
}

TEST(USBHIDAppDelegateTest, MostRecentlyMatchedDeviceWins)
{
    DelegateOnFakeBackend fixture;
    auto first = std::make_shared<FakeDevice>(QStringLiteral("first"));
    auto second = std::make_shared<FakeDevice>(QStringLiteral("second"));
    fixture.backend->plug(first);
    fixture.backend->plug(second);

    fixture.delegate.sendControl(0xD2);

    EXPECT_EQ(fixture.delegate.controller(), second);
    EXPECT_TRUE(first->reports.isEmpty());
    EXPECT_EQ(second->commandBytes(), QList<quint8> { 0xD2 });
}

TEST(USBHIDAppDelegateTest, RemovalOfAnotherDeviceChangesNothing)
{
    DelegateOnFakeBackend fixture;
    auto driven = std::make_shared<FakeDevice>(QStringLiteral("driven"));
    auto stranger = std::make_shared<FakeDevice>(QStringLiteral("stranger"));
    fixture.backend->plug(driven);

    fixture.delegate.handleRemove(stranger);
    fixture.delegate.sendControl(0x21);

    EXPECT_EQ(fixture.delegate.controller(), driven);
    EXPECT_EQ(driven->commandBytes(), QList<quint8> { 0x21 });
}

TEST(USBHIDAppDelegateTest, RemovalOfTheDrivenDeviceLeavesNoDevice)
{
    LogCapture log;
    DelegateOnFakeBackend fixture;
    auto device = std::make_shared<FakeDevice>();
    fixture.backend->plug(device);

    fixture.backend->unplug(device);
    fixture.delegate.sendControl(0xB1);

    EXPECT_EQ(fixture.delegate.controller(), nullptr);
    EXPECT_TRUE(device->reports.isEmpty());
    EXPECT_TRUE(log.lines.isEmpty());
}

TEST(USBHIDAppDelegateTest, FailedWriteIsLoggedWithItsStatusAndTheDeviceIsKept)
{
    LogCapture log;
    DelegateOnFakeBackend fixture;
    auto device = std::make_shared<FakeDevice>();
    device->status = -536870212;
    fixture.backend->plug(device);

    fixture.delegate.sendControl(0xB1);
    fixture.delegate.sendControl(0x21);

    EXPECT_EQ(log.lines,
        QStringList({ QStringLiteral("set report failed status: -536870212"),
            QStringLiteral("set report failed status: -536870212") }));
    EXPECT_EQ(fixture.delegate.controller(), device);
    EXPECT_EQ(device->commandBytes(), QList<quint8>({ 0xB1, 0x21 }));
}

TEST(USBHIDAppDelegateTest, AFailedWriteIsRememberedUntilAWriteWorksOrAnotherDeviceComes)
{
    LogCapture log;
    DelegateOnFakeBackend fixture;
    auto device = std::make_shared<FakeDevice>();
    fixture.backend->plug(device);
    EXPECT_FALSE(fixture.delegate.lastWriteFailed());

    device->status = -1;
    fixture.delegate.sendControl(0xB1);
    EXPECT_TRUE(fixture.delegate.lastWriteFailed());
    device->status = 0;
    fixture.delegate.sendControl(0x21);
    EXPECT_FALSE(fixture.delegate.lastWriteFailed());

    device->status = -1;
    fixture.delegate.sendControl(0xB1);
    fixture.backend->plug(std::make_shared<FakeDevice>(QStringLiteral("second")));
    EXPECT_FALSE(fixture.delegate.lastWriteFailed());
}

TEST(USBHIDAppDelegateTest, HidLayerThatCannotStartIsLoggedAndTheDelegateStillTakesBytes)
{
    LogCapture log;
    auto* backend = new FakeBackend;
    backend->startResult = false;
    USBHIDAppDelegate delegate { std::unique_ptr<HidBackend>(backend) };

    delegate.sendControl(0xB1);

    EXPECT_EQ(log.lines, QStringList { QStringLiteral("IOHIDManagerOpen failed.") });
    EXPECT_EQ(delegate.controller(), nullptr);
}

TEST(USBHIDAppDelegateTest, SetControllerStoresTheDeviceWithoutOpeningIt)
{
    DelegateOnFakeBackend fixture;
    auto device = std::make_shared<FakeDevice>();

    fixture.delegate.setController(device);
    fixture.delegate.sendControl(0x05);

    EXPECT_EQ(device->openCount, 0);
    EXPECT_EQ(device->commandBytes(), QList<quint8> { 0x05 });
}

TEST(USBHIDAppDelegateTest, EndingTheDelegateSendsNothing)
{
    auto device = std::make_shared<FakeDevice>();
    {
        DelegateOnFakeBackend fixture;
        fixture.backend->plug(device);
        fixture.delegate.sendControl(0xB4);
    }
    EXPECT_EQ(device->commandBytes(), QList<quint8> { 0xB4 });
}

TEST(USBHIDAppDelegateTest, AttachedDevicesListsEveryDeviceTheBackendKnows)
{
    DelegateOnFakeBackend fixture;
    auto first = std::make_shared<FakeDevice>(QStringLiteral("first"));
    auto second = std::make_shared<FakeDevice>(QStringLiteral("second"));
    fixture.backend->plug(first);
    fixture.backend->plug(second);

    EXPECT_EQ(fixture.delegate.attachedDevices(), (QList<HidDevicePtr> { first, second }));
}

TEST(USBHIDAppDelegateTest, SharedIsOneInstanceOverTheInstalledBackend)
{
    auto* backend = new FakeBackend;
    USBHIDAppDelegate::setSharedBackendForTesting(std::unique_ptr<HidBackend>(backend));
    auto device = std::make_shared<FakeDevice>();
    backend->plug(device);

    USBHIDAppDelegate::shared().sendControl(0xB8);

    EXPECT_EQ(&USBHIDAppDelegate::shared(), &USBHIDAppDelegate::shared());
    EXPECT_EQ(backend->startCount, 1);
    EXPECT_EQ(device->commandBytes(), QList<quint8> { 0xB8 });
}
