#pragma once

// Test doubles at the two boundaries of the hardware code: the HidBackend
// interface the delegate drives, and the HidApi / DeviceChangeWatcher pair
// under the hidapi back end. Each records what crossed it.

#include "base/SystemLog.h"
#include "hardware/DeviceChangeWatcher.h"
#include "hardware/HidApi.h"
#include "hardware/HidBackend.h"
#include "hardware/USBHIDAppDelegate.h"

#include <QByteArray>
#include <QList>
#include <QMap>
#include <QStringList>

#include <memory>

// Writes to the shared tally box at once, on the caller's thread: the test
// panel's sender in widget tests that read the fake device right after a
// click.
inline void sendToSharedBox(quint8 byte)
{
    USBHIDAppDelegate::shared().sendControl(byte);
}

struct SentReport {
    quint8 reportId;
    HidReport report;
};

class FakeDevice : public HidDevice {
public:
    explicit FakeDevice(QString name = QStringLiteral("fake"))
        : m_name(std::move(name))
    {
    }

    void open() override { ++openCount; }

    qint32 setReport(quint8 reportId, const HidReport& report) override
    {
        reports.append({ reportId, report });
        return status;
    }

    HidDeviceDescription description() const override
    {
        return { m_name, QStringLiteral("maker"), QStringLiteral("box"), QStringLiteral("001") };
    }

    QList<quint8> commandBytes() const
    {
        QList<quint8> bytes;
        for (const SentReport& sent : reports) {
            bytes.append(sent.report[0]);
        }
        return bytes;
    }

    int openCount = 0;
    qint32 status = 0;
    QList<SentReport> reports;

private:
    QString m_name;
};

// A back end whose plugging the test does by hand.
class FakeBackend : public HidBackend {
public:
    bool start(DeviceHandler matched, DeviceHandler removed) override
    {
        ++startCount;
        m_matched = std::move(matched);
        m_removed = std::move(removed);
        return startResult;
    }

    QList<HidDevicePtr> devices() const override { return present; }

    void plug(const HidDevicePtr& device)
    {
        present.append(device);
        m_matched(device);
    }

    void unplug(const HidDevicePtr& device)
    {
        present.removeAll(device);
        m_removed(device);
    }

    bool startResult = true;
    int startCount = 0;
    QList<HidDevicePtr> present;

private:
    DeviceHandler m_matched;
    DeviceHandler m_removed;
};

// The HID library as the hidapi back end sees it: devices are plugged and
// unplugged by path; handles are small numbers dressed as pointers.
class FakeHidApi : public HidApi {
public:
    struct Write {
        int handle;
        QByteArray data;
    };

    bool init() override { return initResult; }

    QList<HidDeviceDescription> enumerate(quint16 vendorId, quint16 productId) override
    {
        ++enumerateCount;
        enumeratedIds.append({ vendorId, productId });
        return entries;
    }

    Handle openPath(const QString& path) override
    {
        opened.append(path);
        if (unopenable.contains(path)) {
            return nullptr;
        }
        const int handle = ++m_lastHandle;
        handlePaths.insert(handle, path);
        return toHandle(handle);
    }

    int write(Handle device, const quint8* data, std::size_t length) override
    {
        writes.append({ fromHandle(device), QByteArray(reinterpret_cast<const char*>(data), qsizetype(length)) });
        return writeResult == 0 ? int(length) : writeResult;
    }

    void close(Handle device) override { closedPaths.append(handlePaths.value(fromHandle(device))); }

    void plug(const QString& path, const QString& serial = QString())
    {
        entries.append({ path, QStringLiteral("maker"), QStringLiteral("box"), serial });
    }

    void unplug(const QString& path)
    {
        entries.removeIf([&path](const HidDeviceDescription& entry) { return entry.path == path; });
    }

    QStringList writtenPaths() const
    {
        QStringList paths;
        for (const Write& write : writes) {
            paths.append(handlePaths.value(write.handle));
        }
        return paths;
    }

    static Handle toHandle(int number) { return reinterpret_cast<Handle>(static_cast<quintptr>(number)); }
    static int fromHandle(Handle handle) { return static_cast<int>(reinterpret_cast<quintptr>(handle)); }

    bool initResult = true;
    int writeResult = 0; // 0: write everything; otherwise returned as is
    int enumerateCount = 0;
    QList<std::pair<quint16, quint16>> enumeratedIds;
    QList<HidDeviceDescription> entries;
    QStringList unopenable;
    QStringList opened;
    QStringList closedPaths;
    QMap<int, QString> handlePaths;
    QList<Write> writes;

private:
    int m_lastHandle = 0;
};

// Stands in for the udev monitor: the test says when something changed.
class FakeChangeWatcher : public DeviceChangeWatcher {
public:
    void start(std::function<void()> changed) override { m_changed = std::move(changed); }

    bool started() const { return bool(m_changed); }
    void notify() { m_changed(); }

private:
    std::function<void()> m_changed;
};

// Collects system log lines for the life of the object.
class LogCapture {
public:
    LogCapture()
        : m_previous(setSystemLogSink([this](const QString& line) { lines.append(line); }))
    {
    }
    ~LogCapture() { setSystemLogSink(m_previous); }

    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;

    QStringList lines;

private:
    SystemLogSink m_previous;
};
