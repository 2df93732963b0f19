#pragma once

#include "hardware/HidApi.h"

// HidApi on the hidapi library itself.
class HidapiLibrary : public HidApi {
public:
    bool init() override;
    QList<HidDeviceDescription> enumerate(quint16 vendorId, quint16 productId) override;
    Handle openPath(const QString& path) override;
    int write(Handle device, const quint8* data, std::size_t length) override;
    void close(Handle device) override;
};
