// The HID back end on IOKit. The manager, once opened, stays scheduled on the
// main run loop for the life of the process, like the delegate that owns this
// back end: there is no tear-down.

#include "hardware/mac/MacHidBackend.h"

#include <QList>
#include <QString>

#include <CoreFoundation/CoreFoundation.h>
#include <IOKit/hid/IOHIDDevice.h>
#include <IOKit/hid/IOHIDKeys.h>
#include <IOKit/hid/IOHIDManager.h>

#include <utility>

namespace {

constexpr int tallyVendorId = 0x04D8;
constexpr int tallyProductId = 0xF5EA;

QString stringProperty(IOHIDDeviceRef device, CFStringRef key)
{
    const CFTypeRef value = IOHIDDeviceGetProperty(device, key);
    if (value == nullptr || CFGetTypeID(value) != CFStringGetTypeID()) {
        return {};
    }
    return QString::fromCFString(static_cast<CFStringRef>(value));
}

// Where the box sits on the bus, for listings: its location ID in hex.
QString locationOf(IOHIDDeviceRef device)
{
    const CFTypeRef value = IOHIDDeviceGetProperty(device, CFSTR(kIOHIDLocationIDKey));
    qint64 location = 0;
    if (value == nullptr || CFGetTypeID(value) != CFNumberGetTypeID()
        || !CFNumberGetValue(static_cast<CFNumberRef>(value), kCFNumberSInt64Type, &location)) {
        return {};
    }
    return QStringLiteral("0x%1").arg(location, 8, 16, QLatin1Char('0'));
}

// One tally box. Holds its own reference on the device handle for as long
// as anyone (the back end's list, the delegate) keeps the box.
class MacHidDevice : public HidDevice {
public:
    explicit MacHidDevice(IOHIDDeviceRef device)
        : m_device(device)
    {
        CFRetain(m_device);
    }

    ~MacHidDevice() override { CFRelease(m_device); }

    MacHidDevice(const MacHidDevice&) = delete;
    MacHidDevice& operator=(const MacHidDevice&) = delete;

    // A box that cannot be opened is kept; its writes then fail with a
    // status, which is where the failure shows.
    void open() override { IOHIDDeviceOpen(m_device, kIOHIDOptionsTypeNone); }

    qint32 setReport(quint8 reportId, const HidReport& report) override
    {
        return IOHIDDeviceSetReport(
            m_device, kIOHIDReportTypeOutput, CFIndex(reportId), report.data(), CFIndex(report.size()));
    }

    HidDeviceDescription description() const override
    {
        return { locationOf(m_device), stringProperty(m_device, CFSTR(kIOHIDManufacturerKey)),
            stringProperty(m_device, CFSTR(kIOHIDProductKey)), stringProperty(m_device, CFSTR(kIOHIDSerialNumberKey)) };
    }

    IOHIDDeviceRef handle() const { return m_device; }

private:
    IOHIDDeviceRef m_device;
};

CFNumberRef makeNumber(int value)
{
    return CFNumberCreate(kCFAllocatorDefault, kCFNumberIntType, &value);
}

class MacHidBackend : public HidBackend {
public:
    bool start(DeviceHandler matched, DeviceHandler removed) override
    {
        m_matched = std::move(matched);
        m_removed = std::move(removed);

        m_manager = IOHIDManagerCreate(kCFAllocatorDefault, kIOHIDOptionsTypeNone);
        CFMutableDictionaryRef matching = CFDictionaryCreateMutable(
            kCFAllocatorDefault, 2, &kCFTypeDictionaryKeyCallBacks, &kCFTypeDictionaryValueCallBacks);
        CFNumberRef vendor = makeNumber(tallyVendorId);
        CFNumberRef product = makeNumber(tallyProductId);
        CFDictionarySetValue(matching, CFSTR(kIOHIDVendorIDKey), vendor);
        CFDictionarySetValue(matching, CFSTR(kIOHIDProductIDKey), product);
        CFRelease(vendor);
        CFRelease(product);
        IOHIDManagerSetDeviceMatching(m_manager, matching);
        CFRelease(matching);

        IOHIDManagerRegisterDeviceMatchingCallback(m_manager, &MacHidBackend::deviceMatched, this);
        IOHIDManagerRegisterDeviceRemovalCallback(m_manager, &MacHidBackend::deviceRemoved, this);
        IOHIDManagerScheduleWithRunLoop(m_manager, CFRunLoopGetMain(), kCFRunLoopDefaultMode);
        // Boxes already plugged in are reported by the run loop after this
        // returns, not from within the open.
        return IOHIDManagerOpen(m_manager, kIOHIDOptionsTypeNone) == kIOReturnSuccess;
    }

    QList<HidDevicePtr> devices() const override
    {
        QList<HidDevicePtr> present;
        for (const auto& entry : m_devices) {
            present.append(entry);
        }
        return present;
    }

private:
    static void deviceMatched(void* context, IOReturn /*result*/, void* /*sender*/, IOHIDDeviceRef device)
    {
        static_cast<MacHidBackend*>(context)->handleMatched(device);
    }

    static void deviceRemoved(void* context, IOReturn /*result*/, void* /*sender*/, IOHIDDeviceRef device)
    {
        static_cast<MacHidBackend*>(context)->handleRemoved(device);
    }

    void handleMatched(IOHIDDeviceRef device)
    {
        auto box = std::make_shared<MacHidDevice>(device);
        m_devices.append(box);
        m_matched(box);
    }

    // The removed box is recognised by its handle, and handed on as the
    // very object that was reported at its match.
    void handleRemoved(IOHIDDeviceRef device)
    {
        for (qsizetype index = 0; index < m_devices.size(); ++index) {
            if (m_devices.at(index)->handle() == device) {
                const std::shared_ptr<MacHidDevice> box = m_devices.takeAt(index);
                m_removed(box);
                return;
            }
        }
    }

    IOHIDManagerRef m_manager = nullptr;
    DeviceHandler m_matched;
    DeviceHandler m_removed;
    QList<std::shared_ptr<MacHidDevice>> m_devices;
};

} // namespace

std::unique_ptr<HidBackend> makeMacHidBackend()
{
    return std::make_unique<MacHidBackend>();
}
