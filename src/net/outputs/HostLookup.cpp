#include "outputs/HostLookup.h"

#include <QHostInfo>

HostLookup::HostLookup(QString host, std::function<void(const QString& failure)> report, QObject* parent)
    : QObject(parent)
    , m_host(std::move(host))
    , m_report(std::move(report))
    , m_address(m_host)
{
    if (m_address.isNull()) {
        lookUp();
    }
}

void HostLookup::retryIfUnknown()
{
    if (m_address.isNull() && !m_lookingUp) {
        lookUp();
    }
}

void HostLookup::lookUp()
{
    m_lookingUp = true;
    QHostInfo::lookupHost(m_host, this, [this](const QHostInfo& info) {
        m_lookingUp = false;
        if (info.error() != QHostInfo::NoError || info.addresses().isEmpty()) {
            m_report(QStringLiteral("cannot find %1 (%2); trying again every second").arg(m_host, info.errorString()));
            return;
        }
        m_address = info.addresses().constFirst();
    });
}
