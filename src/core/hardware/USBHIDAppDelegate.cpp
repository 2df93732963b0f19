#include "hardware/USBHIDAppDelegate.h"

#include "base/SystemLog.h"
#include "hardware/HidBackendFactory.h"

namespace {

// A plain pointer, never deleted by the program: the shared instance lives
// until the process ends, with no tear-down at exit. The lazy creation is a
// plain null check, safe because only the main thread ever gets here.
USBHIDAppDelegate*& sharedInstance()
{
    static USBHIDAppDelegate* instance = nullptr;
    return instance;
}

// A back end a test has set aside for the next shared() call.
std::unique_ptr<HidBackend>& pendingBackend()
{
    static std::unique_ptr<HidBackend> backend;
    return backend;
}

} // namespace

USBHIDAppDelegate& USBHIDAppDelegate::shared()
{
    if (sharedInstance() == nullptr) {
        std::unique_ptr<HidBackend> backend
            = pendingBackend() ? std::move(pendingBackend()) : makeHidBackendFromEnvironment();
        sharedInstance() = new USBHIDAppDelegate(std::move(backend));
    }
    return *sharedInstance();
}

void USBHIDAppDelegate::setSharedBackendOnFirstUseForTesting(std::unique_ptr<HidBackend> backend)
{
    delete sharedInstance();
    sharedInstance() = nullptr;
    pendingBackend() = std::move(backend);
}

void USBHIDAppDelegate::setSharedBackendForTesting(std::unique_ptr<HidBackend> backend)
{
    delete sharedInstance();
    sharedInstance() = nullptr;
    sharedInstance() = new USBHIDAppDelegate(std::move(backend));
}

USBHIDAppDelegate::USBHIDAppDelegate(std::unique_ptr<HidBackend> backend)
    : m_backend(std::move(backend))
{
    const bool started = m_backend->start([this](const HidDevicePtr& device) { handleMatch(device); },
        [this](const HidDevicePtr& device) { handleRemove(device); });
    if (!started) {
        systemLog(QStringLiteral("IOHIDManagerOpen failed."));
    }
}

// Sends nothing: the lights keep whatever they show when the program ends.
USBHIDAppDelegate::~USBHIDAppDelegate() = default;

HidDevicePtr USBHIDAppDelegate::controller() const
{
    const std::lock_guard lock(m_mutex);
    return m_controller;
}

bool USBHIDAppDelegate::lastWriteFailed() const
{
    const std::lock_guard lock(m_mutex);
    return m_lastWriteFailed;
}

void USBHIDAppDelegate::setController(HidDevicePtr device)
{
    const std::lock_guard lock(m_mutex);
    m_controller = std::move(device);
    m_lastWriteFailed = false;
}

void USBHIDAppDelegate::handleMatch(const HidDevicePtr& device)
{
    setController(device);
    if (device) {
        device->open();
    }
}

void USBHIDAppDelegate::handleRemove(const HidDevicePtr& device)
{
    if (device && device == controller()) {
        setController(nullptr);
    }
}

bool USBHIDAppDelegate::sendControl(quint8 command)
{
    HidReport report {};
    report[0] = command;
    const HidDevicePtr device = controller();
    if (!device) {
        return false;
    }
    const qint32 status = device->setReport(command, report);
    {
        // A device that came while this one was written starts with no
        // failure of its own.
        const std::lock_guard lock(m_mutex);
        if (device == m_controller) {
            m_lastWriteFailed = status != 0;
        }
    }
    if (status != 0) {
        systemLog(QStringLiteral("set report failed status: %1").arg(status));
        return false;
    }
    return true;
}

QList<HidDevicePtr> USBHIDAppDelegate::attachedDevices() const
{
    return m_backend->devices();
}
