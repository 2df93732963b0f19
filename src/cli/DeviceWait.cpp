#include "DeviceWait.h"

#include "base/StandardOutput.h"
#include "hardware/HidBackendFactory.h"
#include "hardware/USBHIDAppDelegate.h"

#include <QDeadlineTimer>
#include <QEventLoop>
#include <QTimer>

namespace DeviceWait {

namespace {

bool attached()
{
    return USBHIDAppDelegate::shared().controller() != nullptr;
}

} // namespace

bool waitForDevice(std::chrono::milliseconds timeout)
{
    if (attached()) {
        return true;
    }
    // Attach notices arrive through the event loop; look after every batch of
    // events, and at least every few milliseconds, until the deadline.
    const QDeadlineTimer deadline(timeout);
    QEventLoop loop;
    QTimer check;
    check.setInterval(std::chrono::milliseconds(20));
    QObject::connect(&check, &QTimer::timeout, &loop, [&loop, &deadline] {
        if (attached() || deadline.hasExpired()) {
            loop.quit();
        }
    });
    check.start();
    loop.exec();
    if (attached()) {
        return true;
    }
    const QString capturePath = qEnvironmentVariable(hidCaptureEnvironmentVariable);
    if (!capturePath.isEmpty()) {
        printErrorLine(
            QStringLiteral("tallyctl: the capture file %1 cannot take reports, so no tally device is attached")
                .arg(capturePath));
        return false;
    }
    printErrorLine(
        QStringLiteral("tallyctl: no tally device attached (USB vendor 0x04d8, product 0xf5ea) after %1 s; plug it in, "
                       "check its permissions, or set %2 to a file to capture the reports")
            .arg(double(timeout.count()) / 1000.0)
            .arg(QLatin1String(hidCaptureEnvironmentVariable)));
    return false;
}

} // namespace DeviceWait
