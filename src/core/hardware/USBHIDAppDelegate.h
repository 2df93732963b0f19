#pragma once

#include "hardware/HidBackend.h"

#include <QList>

#include <memory>
#include <mutex>

// The connection to the USB tally box (vendor 0x04D8, product 0xF5EA). Keeps
// at most one device, the one matched last, and writes light command bytes to
// it as 64-byte output reports. Nothing is queued and nothing is reported to
// callers: a byte with no device is dropped, and a failed write only leaves a
// line in the system log.
//
// The program reaches the one instance through shared(); it is made on first
// use, which starts device discovery, and is never destroyed, so nothing is
// sent when the program ends.
//
// Threading: the instance is made, and the back end reports devices, on the
// main thread. sendControl may run on another thread (a BoxWriter's) while
// the main thread handles matches and removals or asks for the state: the
// driven device and the write failure are guarded by one mutex, and the
// write itself runs outside it on a device the writer holds a reference to,
// so a removal during a slow write neither waits for it nor frees the device
// under it.
class USBHIDAppDelegate {
public:
    static USBHIDAppDelegate& shared();

    // Makes the shared instance anew over the given back end (the previous
    // one, if any, goes away without sending anything). For tests only; the
    // program never calls it.
    static void setSharedBackendForTesting(std::unique_ptr<HidBackend> backend);
    // Lets the shared instance go and has the next shared() call make it over
    // this back end, so that a test sees when that first use happens.
    static void setSharedBackendOnFirstUseForTesting(std::unique_ptr<HidBackend> backend);

    // Starts the back end at once. When the HID layer cannot start, logs
    // "IOHIDManagerOpen failed." and works on as a sender without a device.
    explicit USBHIDAppDelegate(std::unique_ptr<HidBackend> backend);
    ~USBHIDAppDelegate();

    USBHIDAppDelegate(const USBHIDAppDelegate&) = delete;
    USBHIDAppDelegate& operator=(const USBHIDAppDelegate&) = delete;

    // The driven device, or null when none is attached. A plain accessor:
    // setting it neither opens nor checks the device.
    HidDevicePtr controller() const;
    void setController(HidDevicePtr device);

    // A newly matched device replaces the current one (which is let go, not
    // closed) and is opened; its open result is ignored.
    void handleMatch(const HidDevicePtr& device);

    // Forgets the current device if it is the one removed; the removal of any
    // other device changes nothing.
    void handleRemove(const HidDevicePtr& device);

    // Writes one command byte as a 64-byte report: the byte in byte 0, 63
    // zeros, report ID the byte itself. Blocks for the one write, which is
    // why the window and tallyctl watch call it through a BoxWriter. True when
    // the report went out (the window ignores it; tallyctl reports it).
    bool sendControl(quint8 command);

    // Whether the last write to the device failed; false while none has been
    // tried since the device came.
    bool lastWriteFailed() const;

    // Every matching device the back end knows of now, driven or not.
    QList<HidDevicePtr> attachedDevices() const;

private:
    std::unique_ptr<HidBackend> m_backend;
    mutable std::mutex m_mutex;
    HidDevicePtr m_controller; // guarded by m_mutex
    bool m_lastWriteFailed = false; // guarded by m_mutex
};
