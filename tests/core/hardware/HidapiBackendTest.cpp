#include "hardware/HidapiBackend.h"

#include "core/hardware/HardwareFakes.h"
#include "hardware/PollingChangeWatcher.h"
#include "hardware/USBHIDAppDelegate.h"
#include "support/QtPrinters.h"

#include <QDeadlineTimer>
#include <QEventLoop>
#include <QTimer>

#include <gtest/gtest.h>

namespace {

const QString boxA = QStringLiteral("/dev/hidraw3");
const QString boxB = QStringLiteral("/dev/hidraw7");

// The delegate on the hidapi back end on a fake library: the whole path from
// a plug to the bytes hid_write is given.
struct DelegateOnHidapi {
    explicit DelegateOnHidapi(const QStringList& pluggedAtStart = {})
        : api(new FakeHidApi)
        , watcher(new FakeChangeWatcher)
        , delegate(make(api, watcher, pluggedAtStart))
    {
    }

    static std::unique_ptr<HidBackend> make(FakeHidApi* api, FakeChangeWatcher* watcher, const QStringList& plugged)
    {
        for (const QString& path : plugged) {
            api->plug(path);
        }
        return std::make_unique<HidapiBackend>(
            std::unique_ptr<HidApi>(api), std::unique_ptr<DeviceChangeWatcher>(watcher));
    }

    QString drivenPath() const { return delegate.controller() ? delegate.controller()->description().path : QString(); }

    FakeHidApi* api;
    FakeChangeWatcher* watcher;
    USBHIDAppDelegate delegate;
};

QByteArray reportBytes(quint8 first)
{
    QByteArray bytes(64, '\0');
    bytes[0] = char(first);
    return bytes;
}

} // namespace

TEST(HidapiBackendTest, EnumeratesOnlyTheTallyBoxVendorAndProduct)
{
    DelegateOnHidapi fixture;
    ASSERT_FALSE(fixture.api->enumeratedIds.isEmpty());
    for (const auto& [vendor, product] : fixture.api->enumeratedIds) {
        EXPECT_EQ(vendor, 1240);
        EXPECT_EQ(product, 62954);
    }
}

TEST(HidapiBackendTest, DevicePresentAtStartIsAttachedWithoutAnyNotice)
{
    DelegateOnHidapi fixture({ boxA });
    EXPECT_EQ(fixture.drivenPath(), boxA);
    EXPECT_EQ(fixture.api->opened, QStringList { boxA });
    EXPECT_TRUE(fixture.watcher->started());
}

TEST(HidapiBackendTest, ByteSentBeforeTheBoxIsPluggedIsDroppedSilently)
{
    LogCapture log;
    DelegateOnHidapi fixture;

    fixture.delegate.sendControl(0xB1);
    fixture.api->plug(boxA);
    fixture.watcher->notify();

    EXPECT_TRUE(fixture.api->writes.isEmpty());
    EXPECT_TRUE(log.lines.isEmpty());
    EXPECT_EQ(fixture.drivenPath(), boxA);
}

TEST(HidapiBackendTest, WriteIsTheSixtyFourByteReportItselfWithNoLeadingByte)
{
    DelegateOnHidapi fixture({ boxA });

    fixture.delegate.sendControl(0xB3);

    ASSERT_EQ(fixture.api->writes.size(), 1);
    EXPECT_EQ(fixture.api->writes.first().data, reportBytes(0xB3));
    EXPECT_EQ(fixture.api->writtenPaths(), QStringList { boxA });
}

TEST(HidapiBackendTest, UnpluggingAndReplugReattachesThroughTheMatchWithoutUserAction)
{
    DelegateOnHidapi fixture({ boxA });

    fixture.api->unplug(boxA);
    fixture.watcher->notify();
    EXPECT_EQ(fixture.delegate.controller(), nullptr);

    fixture.api->plug(boxA);
    fixture.watcher->notify();
    fixture.delegate.sendControl(0xD1);

    EXPECT_EQ(fixture.drivenPath(), boxA);
    EXPECT_EQ(fixture.api->opened, QStringList({ boxA, boxA }));
    ASSERT_EQ(fixture.api->writes.size(), 1);
    EXPECT_EQ(fixture.api->writes.first().data, reportBytes(0xD1));
}

TEST(HidapiBackendTest, UnpluggingTheDeviceNotDrivenLeavesTheDrivenOneInPlace)
{
    DelegateOnHidapi fixture({ boxA });
    fixture.api->plug(boxB);
    fixture.watcher->notify();
    ASSERT_EQ(fixture.drivenPath(), boxB);

    fixture.api->unplug(boxA);
    fixture.watcher->notify();
    fixture.delegate.sendControl(0xB2);

    EXPECT_EQ(fixture.drivenPath(), boxB);
    EXPECT_EQ(fixture.api->writtenPaths(), QStringList { boxB });
}

TEST(HidapiBackendTest, UnpluggingTheDrivenDeviceLeavesNoDeviceUntilANewMatch)
{
    DelegateOnHidapi fixture({ boxA });
    fixture.api->plug(boxB);
    fixture.watcher->notify();

    fixture.api->unplug(boxB);
    fixture.watcher->notify();
    fixture.delegate.sendControl(0xB2);
    EXPECT_EQ(fixture.delegate.controller(), nullptr);
    EXPECT_TRUE(fixture.api->writes.isEmpty());

    // Nothing new: the box still plugged in is not taken up again.
    fixture.watcher->notify();
    EXPECT_EQ(fixture.delegate.controller(), nullptr);

    fixture.api->plug(boxB);
    fixture.watcher->notify();
    EXPECT_EQ(fixture.drivenPath(), boxB);
}

TEST(HidapiBackendTest, ReplacingOneBoxByAnotherBetweenNoticesDrivesTheNewOne)
{
    DelegateOnHidapi fixture({ boxA });

    fixture.api->unplug(boxA);
    fixture.api->plug(boxB);
    fixture.watcher->notify();
    fixture.delegate.sendControl(0x08);

    EXPECT_EQ(fixture.drivenPath(), boxB);
    EXPECT_EQ(fixture.api->writtenPaths(), QStringList { boxB });
    EXPECT_EQ(fixture.api->closedPaths, QStringList { boxA });
}

TEST(HidapiBackendTest, TwoBoxesAtStartDriveTheOneReportedLast)
{
    DelegateOnHidapi fixture({ boxA, boxB });
    EXPECT_EQ(fixture.drivenPath(), boxB);
    EXPECT_EQ(fixture.delegate.attachedDevices().size(), 2);
}

TEST(HidapiBackendTest, EntriesSharingAPathAreOneBox)
{
    DelegateOnHidapi fixture({ boxA, boxA });
    EXPECT_EQ(fixture.delegate.attachedDevices().size(), 1);
    EXPECT_EQ(fixture.api->opened, QStringList { boxA });
}

TEST(HidapiBackendTest, NoticeWithoutChangeReportsNothingNew)
{
    DelegateOnHidapi fixture({ boxA });
    const HidDevicePtr driven = fixture.delegate.controller();

    fixture.watcher->notify();

    EXPECT_EQ(fixture.delegate.controller(), driven);
    EXPECT_EQ(fixture.api->opened, QStringList { boxA });
}

TEST(HidapiBackendTest, WriteReturningMinusOneIsLoggedAsFailedStatusAndTheBoxIsKept)
{
    LogCapture log;
    DelegateOnHidapi fixture({ boxA });
    fixture.api->writeResult = -1;

    fixture.delegate.sendControl(0xB1);

    EXPECT_EQ(log.lines, QStringList { QStringLiteral("set report failed status: -1") });
    EXPECT_EQ(fixture.drivenPath(), boxA);
}

TEST(HidapiBackendTest, ShortWriteIsNotAFailure)
{
    LogCapture log;
    DelegateOnHidapi fixture({ boxA });
    fixture.api->writeResult = 9;

    fixture.delegate.sendControl(0xB1);

    EXPECT_TRUE(log.lines.isEmpty());
}

TEST(HidapiBackendTest, BoxThatCannotBeOpenedIsKeptAndItsWritesFailWithALoggedStatus)
{
    LogCapture log;
    DelegateOnHidapi fixture;
    fixture.api->unopenable.append(boxA);
    fixture.api->plug(boxA);
    fixture.watcher->notify();

    fixture.delegate.sendControl(0xB1);

    EXPECT_EQ(fixture.drivenPath(), boxA);
    EXPECT_TRUE(fixture.api->writes.isEmpty());
    EXPECT_EQ(log.lines, QStringList { QStringLiteral("set report failed status: -1") });
}

TEST(HidapiBackendTest, ABoxThatCouldNotBeOpenedIsOpenedAgainOnTheNextChangeNotice)
{
    LogCapture log;
    DelegateOnHidapi fixture;
    fixture.api->unopenable.append(boxA);
    fixture.api->plug(boxA);
    fixture.watcher->notify();
    ASSERT_FALSE(fixture.delegate.controller()->isOpen());

    // The device rule has taken effect; another device's plugging sends a
    // notice.
    fixture.api->unopenable.clear();
    fixture.watcher->notify();

    EXPECT_TRUE(fixture.delegate.controller()->isOpen());
    EXPECT_TRUE(fixture.delegate.sendControl(0xB1));
    ASSERT_EQ(fixture.api->writes.size(), 1);
    EXPECT_EQ(fixture.api->writes[0].data, reportBytes(0xB1));
    EXPECT_TRUE(log.lines.isEmpty()) << log.lines.join('|').toStdString();
}

TEST(HidapiBackendTest, ABoxThatCouldNotBeOpenedIsOpenedAgainWithinASecondWithoutANotice)
{
    DelegateOnHidapi fixture;
    fixture.api->unopenable.append(boxA);
    fixture.api->plug(boxA);
    fixture.watcher->notify();
    ASSERT_FALSE(fixture.delegate.controller()->isOpen());
    const qsizetype attempts = fixture.api->opened.size();

    fixture.api->unopenable.clear();
    QEventLoop loop;
    const QDeadlineTimer deadline(3 * HidapiBackend::reopenIntervalMilliseconds);
    while (!fixture.delegate.controller()->isOpen() && !deadline.hasExpired()) {
        loop.processEvents(QEventLoop::WaitForMoreEvents, 50);
    }
    EXPECT_TRUE(fixture.delegate.controller()->isOpen());
    EXPECT_EQ(fixture.api->opened.size(), attempts + 1);
}

TEST(HidapiBackendTest, ABoxThatWasOpenIsNotOpenedAgainWhenItsWritesFail)
{
    LogCapture log;
    DelegateOnHidapi fixture({ boxA });
    fixture.api->writeResult = -1;
    EXPECT_FALSE(fixture.delegate.sendControl(0xB1));
    fixture.watcher->notify();
    EXPECT_EQ(fixture.api->opened, QStringList { boxA });
    EXPECT_TRUE(fixture.delegate.controller()->isOpen());
}

TEST(HidapiBackendTest, LibraryThatCannotStartIsLoggedAsManagerOpenFailed)
{
    LogCapture log;
    auto* api = new FakeHidApi;
    api->initResult = false;
    api->plug(boxA);
    auto* watcher = new FakeChangeWatcher;
    USBHIDAppDelegate delegate { std::make_unique<HidapiBackend>(
        std::unique_ptr<HidApi>(api), std::unique_ptr<DeviceChangeWatcher>(watcher)) };

    delegate.sendControl(0xB1);

    EXPECT_EQ(log.lines, QStringList { QStringLiteral("IOHIDManagerOpen failed.") });
    EXPECT_EQ(delegate.controller(), nullptr);
    EXPECT_FALSE(watcher->started());
    EXPECT_EQ(api->enumerateCount, 0);
}

TEST(HidapiBackendTest, UnpluggedBoxIsClosedOnceNobodyHoldsIt)
{
    DelegateOnHidapi fixture({ boxA });

    fixture.api->unplug(boxA);
    fixture.watcher->notify();

    EXPECT_EQ(fixture.api->closedPaths, QStringList { boxA });
}

TEST(HidapiBackendTest, ReplacedBoxStillPluggedInStaysOpen)
{
    DelegateOnHidapi fixture({ boxA });
    fixture.api->plug(boxB);
    fixture.watcher->notify();

    EXPECT_TRUE(fixture.api->closedPaths.isEmpty());
}

TEST(HidapiBackendTest, DescriptionCarriesPathManufacturerProductAndSerial)
{
    auto* api = new FakeHidApi;
    api->plug(boxA, QStringLiteral("SN42"));
    HidapiBackend backend(std::unique_ptr<HidApi>(api), std::make_unique<FakeChangeWatcher>());
    backend.start([](const HidDevicePtr&) {}, [](const HidDevicePtr&) {});

    ASSERT_EQ(backend.devices().size(), 1);
    const HidDeviceDescription description = backend.devices().first()->description();
    EXPECT_EQ(description.path, boxA);
    EXPECT_EQ(description.manufacturer, QStringLiteral("maker"));
    EXPECT_EQ(description.product, QStringLiteral("box"));
    EXPECT_EQ(description.serialNumber, QStringLiteral("SN42"));
}

TEST(HidapiBackendTest, PollingWatcherFindsAPluggedBoxByItselfThroughTheEventLoop)
{
    auto* api = new FakeHidApi;
    USBHIDAppDelegate delegate { std::make_unique<HidapiBackend>(
        std::unique_ptr<HidApi>(api), std::make_unique<PollingChangeWatcher>(std::chrono::milliseconds(10))) };
    ASSERT_EQ(delegate.controller(), nullptr);

    api->plug(boxA);
    QEventLoop loop;
    const QDeadlineTimer deadline(std::chrono::seconds(5));
    while (delegate.controller() == nullptr && !deadline.hasExpired()) {
        loop.processEvents(QEventLoop::WaitForMoreEvents, 50);
    }

    ASSERT_NE(delegate.controller(), nullptr);
    EXPECT_EQ(delegate.controller()->description().path, boxA);
}
