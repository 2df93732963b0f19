#include "hardware/CaptureBackend.h"

#include "base/SystemLog.h"

#include <QFile>

#include <thread>

namespace {

class CaptureDevice : public HidDevice {
public:
    CaptureDevice(std::unique_ptr<QFile> file, std::chrono::milliseconds delay)
        : m_file(std::move(file))
        , m_delay(delay)
    {
    }

    void open() override { }

    // The report ID is byte 0 of the report, so the line already shows it.
    qint32 setReport(quint8, const HidReport& report) override
    {
        if (m_delay.count() > 0) {
            std::this_thread::sleep_for(m_delay);
        }
        QByteArray line = QByteArray::fromRawData(reinterpret_cast<const char*>(report.data()), report.size()).toHex();
        line.append('\n');
        if (m_file->write(line) != line.size() || !m_file->flush()) {
            return -1;
        }
        return 0;
    }

    HidDeviceDescription description() const override
    {
        return { m_file->fileName(), QStringLiteral("Mixdesk Tally"), QStringLiteral("HID capture file"), QString() };
    }

private:
    std::unique_ptr<QFile> m_file;
    std::chrono::milliseconds m_delay;
};

} // namespace

CaptureBackend::CaptureBackend(QString path, std::chrono::milliseconds delay)
    : m_path(std::move(path))
    , m_delay(delay)
{
}

bool CaptureBackend::start(DeviceHandler matched, DeviceHandler)
{
    auto file = std::make_unique<QFile>(m_path);
    if (!file->open(QIODevice::WriteOnly | QIODevice::Append)) {
        systemLog(QStringLiteral("HID capture file %1 cannot be opened for appending (%2); no tally device is attached")
                      .arg(m_path, file->errorString()));
        return true;
    }
    m_device = std::make_shared<CaptureDevice>(std::move(file), m_delay);
    matched(m_device);
    return true;
}

QList<HidDevicePtr> CaptureBackend::devices() const
{
    if (!m_device) {
        return {};
    }
    return { m_device };
}
