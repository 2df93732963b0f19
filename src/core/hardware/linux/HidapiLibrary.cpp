#include "hardware/linux/HidapiLibrary.h"

#include <QFile>

#include <hidapi.h>

namespace {

QString fromWide(const wchar_t* text)
{
    return text == nullptr ? QString() : QString::fromWCharArray(text);
}

hid_device* device(HidApi::Handle handle)
{
    return static_cast<hid_device*>(handle);
}

} // namespace

bool HidapiLibrary::init()
{
    return hid_init() == 0;
}

QList<HidDeviceDescription> HidapiLibrary::enumerate(quint16 vendorId, quint16 productId)
{
    QList<HidDeviceDescription> found;
    hid_device_info* list = hid_enumerate(vendorId, productId);
    for (const hid_device_info* info = list; info != nullptr; info = info->next) {
        found.append({ QFile::decodeName(info->path), fromWide(info->manufacturer_string),
            fromWide(info->product_string), fromWide(info->serial_number) });
    }
    hid_free_enumeration(list);
    return found;
}

HidApi::Handle HidapiLibrary::openPath(const QString& path)
{
    return hid_open_path(QFile::encodeName(path).constData());
}

int HidapiLibrary::write(Handle handle, const quint8* data, std::size_t length)
{
    return hid_write(device(handle), data, length);
}

void HidapiLibrary::close(Handle handle)
{
    hid_close(device(handle));
}
